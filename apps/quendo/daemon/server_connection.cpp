#include <array>
#include <cerrno>
#include <poll.h>
#include <string_view>
#include <utility>

#include <sys/socket.h>

#include "apps/quendo/daemon/protocol.hpp"
#include "apps/quendo/daemon/server_connection_internal.hpp"

namespace quendo {

ServerConnection::ServerConnection(Descriptor descriptor, Instant since, Instant until)
    : descriptor_(std::move(descriptor)), since_(since), deadline_(until), out_(greeting()) {}

short ServerConnection::events() const noexcept {
    // That the client has hung up is always told.
    const int reading = state_ == State::reading ? POLLIN : 0;
    const int writing = written_ < out_.size() ? POLLOUT : 0;
    return static_cast<short>(reading | writing);
}

std::optional<ServerConnection::Instant> ServerConnection::deadline() const noexcept {
    return state_ == State::waiting ? std::nullopt : std::optional(deadline_);
}

std::optional<Request> ServerConnection::proceed(short events) {
    // Nobody would read what we write.
    if ((events & POLLERR) != 0 || (state_ != State::reading && (events & POLLHUP) != 0)) {
        hangUp();
        return std::nullopt;
    }
    if ((events & POLLOUT) != 0) {
        write();
    }
    if (state_ != State::reading || (events & (POLLIN | POLLHUP)) == 0) {
        return std::nullopt;
    }
    read();
    return takeRequest();
}

void ServerConnection::answer(const RequestAnswer& answer, Instant until) {
    std::string bytes = encode(answer);
    if (bytes.size() > longestAnswer) {
        bytes = encode(RequestAnswer{{},
                                     Failure{ExitCode::notDone,
                                             "the answer is too long for the way from the daemon; stop the daemon "
                                             "(systemctl --user stop quendo) and try again"}});
    }
    out_.erase(0, written_);
    written_ = 0;
    out_ += lengthBytes(bytes.size());
    out_ += bytes;
    deadline_ = until;
    state_ = State::writing;
    write();
}

void ServerConnection::hangUp(std::string fault) {
    state_ = State::over;
    fault_ = std::move(fault);
}

void ServerConnection::read() {
    std::array<char, 65'536> buffer{};
    const ssize_t size = recv(number(), buffer.data(), buffer.size(), 0);
    if (size > 0) {
        in_.append(buffer.data(), static_cast<std::size_t>(size));
    } else if (size == 0) {
        // Whoever only looks whether somebody is here does nothing wrong.
        hangUp(in_.empty() ? "" : "it hung up within its request");
    } else if (errno != EAGAIN && errno != EINTR) {
        hangUp();
    }
}

void ServerConnection::write() {
    while (written_ < out_.size()) {
        const ssize_t size = send(number(), out_.data() + written_, out_.size() - written_, MSG_NOSIGNAL);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            if (errno != EAGAIN) {
                hangUp();
            }
            return;
        }
        written_ += static_cast<std::size_t>(size);
    }
    if (state_ == State::writing) {
        state_ = State::over;
    }
}

std::optional<Request> ServerConnection::takeRequest() {
    if (state_ != State::reading) {
        return std::nullopt;
    }
    if (!greeted_) {
        const Greeting theirs = readGreeting(in_);
        switch (theirs.state) {
            case Greeting::State::incomplete:
                return std::nullopt;
            case Greeting::State::foreign:
                hangUp("it does not speak as a quendo");
                return std::nullopt;
            case Greeting::State::whole:
                break;
        }
        if (!theirs.isOurs()) {
            // It has our greeting too, and tells its person.
            hangUp("it is a quendo of another version");
            return std::nullopt;
        }
        greeted_ = true;
        in_.erase(0, theirs.size);
    }
    if (in_.size() < lengthSize) {
        return std::nullopt;
    }
    const std::size_t length = lengthIn(in_);
    if (length > longestRequest) {
        hangUp("its request would be longer than " + std::to_string(longestRequest >> 20) + " MiB");
        return std::nullopt;
    }
    if (in_.size() < lengthSize + length) {
        return std::nullopt;
    }
    auto request = decodeRequest(std::string_view(in_).substr(lengthSize, length));
    if (!request || in_.size() > lengthSize + length) {
        hangUp("what it sent is no request");
        return std::nullopt;
    }
    std::string().swap(in_);
    state_ = State::waiting;
    return request;
}

}  // namespace quendo
