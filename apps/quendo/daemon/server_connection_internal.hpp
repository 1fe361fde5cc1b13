#pragma once
/// \file
/// One client of the server.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "apps/quendo/daemon/local_socket.hpp"
#include "apps/quendo/daemon/request_codec.hpp"

namespace quendo {

/// Reads a request and writes its answer as far as the socket lets it. One thread.
class ServerConnection {
public:
    using Instant = std::chrono::steady_clock::time_point;
    enum class State { reading, waiting, writing, over };

    /// Has something to say from the beginning.
    ServerConnection(Descriptor descriptor, Instant since, Instant until);

    [[nodiscard]] int number() const noexcept { return descriptor_.number(); }
    [[nodiscard]] State state() const noexcept { return state_; }
    /// What to ask `poll` for.
    [[nodiscard]] short events() const noexcept;
    /// When it is over, unless it waits for its answer.
    [[nodiscard]] std::optional<Instant> deadline() const noexcept;
    [[nodiscard]] Instant since() const noexcept { return since_; }
    /// Why it is over, when that is the client's fault.
    [[nodiscard]] const std::string& fault() const noexcept { return fault_; }

    /// Goes on after `poll` has answered `events`; a request that is whole now.
    [[nodiscard]] std::optional<Request> proceed(short events);
    /// Begins to write.
    void answer(const RequestAnswer& answer, Instant until);
    void hangUp(std::string fault = {});

private:
    void read();
    void write();
    [[nodiscard]] std::optional<Request> takeRequest();

    Descriptor descriptor_;
    const Instant since_;
    Instant deadline_;
    State state_ = State::reading;
    bool greeted_ = false;
    std::string in_;
    std::string out_;
    std::size_t written_ = 0;
    std::string fault_;
};

}  // namespace quendo
