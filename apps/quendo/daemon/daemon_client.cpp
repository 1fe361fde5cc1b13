#include "apps/quendo/daemon/daemon_client.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <sys/socket.h>

#include "apps/quendo/daemon/protocol.hpp"
#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Instant = steady_clock::time_point;

/// Imports take so much longer for each of their bytes.
constexpr std::size_t bytesASecond = 65'536;

Failure silence(const std::filesystem::path& socket) {
    return {ExitCode::locked, socket.string() + ": the daemon does not answer; see systemctl --user status quendo"};
}

Failure brokenOff(const std::filesystem::path& socket) {
    return {ExitCode::locked, socket.string() +
                                  ": the daemon ended before it answered; see whether it was done, as with quendo "
                                  "list, and try again if not"};
}

enum class Transfer { done, ended, late };

/// Waits until the socket can be read or written.
bool waitFor(int descriptor, short events, Instant end) {
    for (;;) {
        const auto rest = std::chrono::ceil<milliseconds>(end - steady_clock::now());
        pollfd polled{descriptor, events, 0};
        const int ready = poll(&polled, 1, static_cast<int>(std::max(rest, milliseconds(0)).count()));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

Transfer sendAll(int descriptor, std::string_view bytes, Instant end) {
    while (!bytes.empty()) {
        if (!waitFor(descriptor, POLLOUT, end)) {
            return Transfer::late;
        }
        const ssize_t size = send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EAGAIN && errno != EINTR) {
            return Transfer::ended;
        }
    }
    return Transfer::done;
}

/// Reads `count` bytes in addition to those in `bytes`.
Transfer receive(int descriptor, std::string& bytes, std::size_t count, Instant end) {
    std::array<char, 65'536> buffer{};
    const std::size_t wanted = bytes.size() + count;
    while (bytes.size() < wanted) {
        if (!waitFor(descriptor, POLLIN, end)) {
            return Transfer::late;
        }
        const ssize_t size =
            recv(descriptor, buffer.data(), std::min(buffer.size(), wanted - bytes.size()), MSG_DONTWAIT);
        if (size > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(size));
        } else if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
            return Transfer::ended;
        }
    }
    return Transfer::done;
}

Failure strangerAt(const std::filesystem::path& socket) {
    return {ExitCode::locked,
            socket.string() + ": there is something else than a daemon of yours; end it, or name another folder"};
}

/// Greets and is greeted. Not done when the other end went away meanwhile.
Outcome<bool> greet(const std::filesystem::path& socket, int descriptor, Instant end) {
    if (peerOf(descriptor) != geteuid()) {
        return strangerAt(socket);
    }
    // It may be gone, or have said all it had to say, by now.
    static_cast<void>(sendAll(descriptor, greeting(), end));
    std::string bytes;
    for (;;) {
        const Greeting theirs = readGreeting(bytes);
        switch (theirs.state) {
            case Greeting::State::foreign:
                return strangerAt(socket);
            case Greeting::State::whole:
                if (theirs.isOurs()) {
                    return true;
                }
                return Failure{ExitCode::locked, "the daemon is quendo " + escapedText(theirs.version, 40) +
                                                     " and this is quendo " + programVersion() +
                                                     "; restart it with systemctl --user restart quendo"};
            case Greeting::State::incomplete:
                break;
        }
        switch (receive(descriptor, bytes, 1, end)) {
            case Transfer::done:
                break;
            case Transfer::ended:
                return false;
            case Transfer::late:
                return silence(socket);
        }
    }
}

/// How long a request itself may wait for the cloud.
struct OwnPatience {
    std::optional<std::chrono::seconds> operator()(const SyncRequest& request) const { return request.patience; }
    std::optional<std::chrono::seconds> operator()(const CloudConnectRequest& request) const {
        return request.patience;
    }
    std::optional<std::chrono::seconds> operator()(const CloudDisconnectRequest&) const { return noTime; }
    std::optional<std::chrono::seconds> operator()(const ClearRequest&) const { return noTime; }
    std::optional<std::chrono::seconds> operator()(const SetOptionRequest&) const { return forDayPlan; }
    std::optional<std::chrono::seconds> operator()(const ResetOptionsRequest&) const { return forDayPlan; }
    template <typename OneRequest>
    std::optional<std::chrono::seconds> operator()(const OneRequest&) const {
        return std::nullopt;
    }

    static constexpr std::chrono::seconds noTime{0};
    static constexpr std::chrono::seconds forDayPlan{10};
};

}  // namespace

Outcome<std::optional<DaemonClient>> DaemonClient::find(const std::filesystem::path& socket,
                                                        DaemonClientOptions options) {
    auto connection = connectTo(socket, options.toGreet);
    if (!connection) {
        return connection.failure();
    }
    if (!connection.value().isOpen()) {
        return std::optional<DaemonClient>();
    }
    auto greeted = greet(socket, connection.value().number(), steady_clock::now() + options.toGreet);
    if (!greeted) {
        return greeted.failure();
    }
    if (!greeted.value()) {
        return std::optional<DaemonClient>();
    }
    return std::optional(DaemonClient(socket, options, std::move(connection).value()));
}

Outcome<RequestAnswer> DaemonClient::ask(const Request& request) {
    if (!connection_.isOpen()) {
        auto again = find(socket_, options_);
        if (!again) {
            return again.failure();
        }
        if (!again.value()) {
            return Failure{ExitCode::locked, socket_.string() + ": the daemon has ended; try again"};
        }
        connection_ = std::move(again.value()->connection_);
    }
    const Descriptor connection = std::exchange(connection_, Descriptor());
    const std::string bytes = encode(request);
    if (bytes.size() > longestRequest) {
        return Failure{ExitCode::usage, "that is more than the " + std::to_string(longestRequest >> 20) +
                                            " MiB that the daemon takes at once; split it, or stop the daemon for it "
                                            "(systemctl --user stop quendo)"};
    }
    const auto own = std::visit(OwnPatience(), request);
    const auto patience = options_.toAnswer + std::chrono::seconds(bytes.size() / bytesASecond) +
                          (own ? *own + options_.toBegin : milliseconds(0));
    const Instant end = steady_clock::now() + patience;
    // One that hangs up early may have answered.
    if (sendAll(connection.number(), lengthBytes(bytes.size()) + bytes, end) == Transfer::late) {
        return silence(socket_);
    }
    std::string answer;
    auto transfer = receive(connection.number(), answer, lengthSize, end);
    if (transfer == Transfer::done) {
        const std::size_t length = lengthIn(answer);
        answer.clear();
        transfer = length > longestAnswer ? Transfer::ended : receive(connection.number(), answer, length, end);
    }
    if (transfer == Transfer::late) {
        return silence(socket_);
    }
    auto decoded = transfer == Transfer::done ? decodeAnswer(answer) : std::nullopt;
    if (!decoded) {
        return brokenOff(socket_);
    }
    return *std::move(decoded);
}

}  // namespace quendo
