#pragma once
/// \file
/// `AwaitedAnswer`, where an answer arrives that a test waits for.

#include <future>
#include <mutex>
#include <utility>

#include <gtest/gtest.h>

namespace quendokit::testing {

/// Takes one answer; another one is a failure of the test. Shared by the test and the callback that answers, so that an
/// answer that comes when nobody waits any more does no harm. Any thread.
template <typename Answer>
class AwaitedAnswer {
public:
    void set(Answer answer) {
        const std::lock_guard lock(mutex_);
        if (came_) {
            ADD_FAILURE() << "a second answer came";
            return;
        }
        came_ = true;
        promise_.set_value(std::move(answer));
    }

    /// Once.
    [[nodiscard]] std::future<Answer> future() { return promise_.get_future(); }

private:
    std::mutex mutex_;
    bool came_ = false;
    std::promise<Answer> promise_;
};

}  // namespace quendokit::testing
