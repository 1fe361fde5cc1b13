#pragma once
/// \file
/// Patience with connections, and its end.

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>

namespace cloudd {

/// How long a connection may take for what it is at. A byte now and then does not buy more time.
struct Patience {
    std::chrono::milliseconds header{5'000};
    std::chrono::milliseconds body{30'000};
    std::chrono::milliseconds answer{120'000};
    std::chrono::milliseconds idle{60'000};
    /// Bytes a second that a body must come at, from its second second on.
    std::size_t bodyRate = 1'000;
};

/// Shuts the sockets of those who take longer, so that slow ones cannot use up all places. Any thread.
class ConnectionWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    enum class Phase { header, body, working, answer, idle };

    struct Entry {
        int socket;
        Phase phase;
        Time since;
        std::size_t bodyBytes;
    };

    explicit ConnectionWatch(Patience patience) : patience_(patience) {}

    /// A connection has come; it has to send a header. The entry is good until `remove`.
    [[nodiscard]] Entry* add(int socket, Time now);
    /// Before its socket is closed.
    void remove(Entry* entry);

    void enter(Entry* entry, Phase phase, Time now);
    void noteBody(Entry* entry, std::size_t bytes);

    /// Shuts every socket whose time is over. Whoever owns it then finds it closed by the other side.
    void shutLate(Time now);

    [[nodiscard]] std::size_t count();

private:
    [[nodiscard]] bool isLate(const Entry& entry, Time now) const;

    const Patience patience_;
    std::mutex mutex_;
    std::list<Entry> entries_;
};

}  // namespace cloudd
