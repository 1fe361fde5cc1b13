#pragma once
/// \file
/// `DaemonClient`, the way from a command to the daemon.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/quendo/daemon/local_socket.hpp"
#include "apps/quendo/daemon/request_codec.hpp"
#include "apps/quendo/failure.hpp"

namespace quendo {

struct DaemonClientOptions {
    /// How long the daemon may take to greet.
    std::chrono::milliseconds toGreet = std::chrono::seconds(10);
    /// How long it may take to answer what is done at once.
    std::chrono::milliseconds toAnswer = std::chrono::seconds(30);
    /// How long it may be at work for others first, when a request waits for the cloud.
    std::chrono::milliseconds toBegin = std::chrono::minutes(2);
};

/// A daemon that was there a moment ago. One thread.
class DaemonClient {
public:
    /// Absent when nobody answers at `socket`. Fails for a daemon of another version, and for one that does not answer.
    [[nodiscard]] static Outcome<std::optional<DaemonClient>> find(const std::filesystem::path& socket,
                                                                   DaemonClientOptions options = {});

    /// What the daemon says to `request`; its warnings are in the answer. Fails when it does not answer.
    [[nodiscard]] Outcome<RequestAnswer> ask(const Request& request);

private:
    DaemonClient(std::filesystem::path socket, DaemonClientOptions options, Descriptor connection)
        : socket_(std::move(socket)), options_(options), connection_(std::move(connection)) {}

    std::filesystem::path socket_;
    DaemonClientOptions options_;
    /// Greeted, and good for one request.
    Descriptor connection_;
};

}  // namespace quendo
