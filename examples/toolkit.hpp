#pragma once
/// \file
/// `Toolkit`, which stands in the examples for the loop that a host has already: of its windows, or of its network.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace toolkit {

/// Calls what was posted, and one alarm. Its time is as coarse as that of many: whole milliseconds.
class Toolkit {
public:
    using Callback = std::function<void()>;
    using Instant = std::chrono::steady_clock::time_point;

    /// Any thread.
    void post(Callback callback) {
        const std::lock_guard lock(mutex_);
        posted_.push_back(std::move(callback));
        wakened_.notify_one();
    }

    /// Calls `callback` after a while, once, in the place of what the alarm was set to before. The toolkit's thread.
    void setAlarm(std::chrono::milliseconds after, Callback callback) {
        alarm_ = std::move(callback);
        alarmAt_ = std::chrono::steady_clock::now() + after;
    }

    /// Waits for something to call, but not beyond `until`, and calls it. False when there was nothing.
    bool callNext(Instant until) {
        std::unique_lock lock(mutex_);
        const Instant alarmAt = alarmAt_.value_or(Instant::max());
        wakened_.wait_until(lock, std::min(alarmAt, until), [this] { return !posted_.empty(); });
        Callback next;
        if (!posted_.empty()) {
            next = std::move(posted_.front());
            posted_.pop_front();
        } else if (alarmAt <= std::chrono::steady_clock::now()) {
            next = std::move(alarm_);
            alarmAt_.reset();
        } else {
            return false;
        }
        lock.unlock();
        next();
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable wakened_;
    std::deque<Callback> posted_;
    Callback alarm_;
    std::optional<Instant> alarmAt_;
};

}  // namespace toolkit
