#pragma once
/// \file
/// `RequestJob`, a request that a guard passes on as it is.

#include <functional>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "hostkit/cloud_job_internal.hpp"

namespace quendokit {

/// A request whose answer is a tuple with the error last.
template <typename... Answer>
class RequestJob final : public CloudJob {
public:
    using Completion = std::function<void(Answer...)>;
    /// Sends it; the completion is called once, on any thread.
    using Send = std::function<void(CKDatabase&, Completion)>;
    using IsReady = std::function<bool()>;

    RequestJob(std::shared_ptr<DispatchQueue> mainQueue, Send send, Completion completion, IsReady isReady = {})
        : CloudJob(std::move(mainQueue)),
          send_(std::move(send)),
          completion_(std::move(completion)),
          isReady_(std::move(isReady)) {}

    [[nodiscard]] bool isReady() const override { return !isReady_ || isReady_(); }

    void attempt(CKDatabase& database, Done done) override {
        send_(database, [answer = answer_, queue = mainQueue(), done = std::move(done)](Answer... came) {
            // Another thread may be here: the answer is taken in on the main queue.
            queue->async([answer, done, taken = std::tuple<Answer...>(std::move(came)...)] {
                *answer = taken;
                done(std::get<sizeof...(Answer) - 1>(taken));
            });
        });
    }

    void finish() override {
        if (completion_ && *answer_) {
            std::apply(completion_, **answer_);
        }
    }

private:
    const Send send_;
    const Completion completion_;
    const IsReady isReady_;
    const std::shared_ptr<std::optional<std::tuple<Answer...>>> answer_ =
        std::make_shared<std::optional<std::tuple<Answer...>>>();
};

}  // namespace quendokit
