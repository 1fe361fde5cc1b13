#pragma once
/// \file
/// The queues of notifications that clients fetch one by one.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace cloudd {

/// One queue a listener, first in, first out; what is taken is gone. A notification only says that something changed,
/// so of a subscription the latest is enough. One thread.
class Courier {
public:
    /// Of a fuller queue the oldest is dropped.
    static constexpr std::size_t mostWaiting = 100;

    /// Puts a notification into a listener's queue, in the place of the one of the same subscription when there is one.
    void add(std::int64_t listener, const std::string& subscription, std::string notification);

    /// The oldest notification of a listener; absent when there is none.
    [[nodiscard]] std::optional<std::string> take(std::int64_t listener);

    /// Drops the queues of all other listeners.
    void keepOnly(const std::set<std::int64_t>& listeners);

    /// The listeners whose queues were added to since the last call.
    [[nodiscard]] std::set<std::int64_t> takeWoken();

private:
    struct Notification {
        std::string subscription;
        std::string text;
    };

    std::map<std::int64_t, std::deque<Notification>> queues_;
    std::set<std::int64_t> woken_;
};

}  // namespace cloudd
