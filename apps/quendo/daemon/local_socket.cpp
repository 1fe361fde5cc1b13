#include "apps/quendo/daemon/local_socket.hpp"

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include "apps/quendo/make_folder.hpp"

namespace quendo {
namespace {

constexpr mode_t ownerOnly = 0600;

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    static_assert(sizeof(address.sun_path) == longestSocketPath + 1);
    const std::string& name = path.native();
    if (name.empty() || name.size() > longestSocketPath) {
        return std::nullopt;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    return address;
}

Failure socketFailure(const std::filesystem::path& path, int number) {
    return {ExitCode::notDone, path.string() + ": the daemon cannot listen there (" +
                                   std::generic_category().message(number) +
                                   "); make the folder writable for you, or name another one with --home DIR"};
}

}  // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Descriptor::~Descriptor() {
    if (number_ >= 0) {
        close(number_);
    }
}

std::optional<uid_t> peerOf(int descriptor) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return std::nullopt;
    }
    return peer.uid;
}

Outcome<ListeningSocket> ListeningSocket::open(const std::filesystem::path& path) {
    const auto address = addressOf(path);
    if (!address) {
        return Failure{ExitCode::usage, path.string() + ": the path of a socket has at most " +
                                            std::to_string(longestSocketPath) +
                                            " bytes; name a shorter folder with --home DIR"};
    }
    if (auto failure = makeFolder(path.parent_path())) {
        return *std::move(failure);
    }
    struct stat status{};
    if (lstat(path.c_str(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            return Failure{ExitCode::notDone, path.string() + " is no socket; move it away"};
        }
        unlink(path.c_str());
    }
    Descriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor.isOpen()) {
        return socketFailure(path, errno);
    }
    // Linux gives the file the rights of the socket, so that nobody else can connect before they are set.
    if (fchmod(descriptor.number(), ownerOnly) != 0 ||
        bind(descriptor.number(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0) {
        return socketFailure(path, errno);
    }
    ListeningSocket made(std::move(descriptor), path);
    if (chmod(path.c_str(), ownerOnly) != 0 || listen(made.number(), SOMAXCONN) != 0) {
        return socketFailure(path, errno);
    }
    return made;
}

ListeningSocket::~ListeningSocket() {
    if (descriptor_.isOpen()) {
        unlink(path_.c_str());
    }
}

Outcome<Descriptor> connectTo(const std::filesystem::path& path, std::chrono::milliseconds patience) {
    const auto address = addressOf(path);
    if (!address) {
        return Descriptor();
    }
    Descriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // A full queue of a listener that accepts nobody would keep the call for ever.
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(patience);
    const timeval limit{microseconds.count() / 1'000'000, microseconds.count() % 1'000'000};
    if (!descriptor.isOpen() || setsockopt(descriptor.number(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) != 0) {
        return Failure{ExitCode::notDone, path.string() + ": " + std::generic_category().message(errno)};
    }
    if (connect(descriptor.number(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == 0) {
        return descriptor;
    }
    if (errno == EAGAIN || errno == EINPROGRESS) {
        return Failure{ExitCode::locked,
                       path.string() + ": the daemon does not answer; see systemctl --user status quendo"};
    }
    return Descriptor();
}

}  // namespace quendo
