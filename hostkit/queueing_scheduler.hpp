#pragma once
/// \file
/// `QueueingScheduler`, a `Scheduler` that only says that something changed.

#include <functional>
#include <memory>
#include <utility>

#include "quendokit/platform/export.hpp"
#include "quendokit/store/scheduler.hpp"

namespace quendokit {

/// What it is asked to arm and to withdraw is a hint: what rings is read from the store, in a later turn of the main
/// queue, once for any number of calls. It calls nobody back inside a database write. Main thread only.
class QUENDOKIT_EXPORT QueueingScheduler final : public Scheduler,
                                                 public std::enable_shared_from_this<QueueingScheduler> {
    struct PrivateTag {};

public:
    /// `changed` is called on the main queue, unless the scheduler is gone.
    [[nodiscard]] static std::shared_ptr<QueueingScheduler> create(std::function<void()> changed);
    QueueingScheduler(PrivateTag, std::function<void()> changed) : changed_(std::move(changed)) {}

    void schedule(const ReminderStruct& reminder) override;
    void cancel(const ReminderStruct& reminder) override;

private:
    void enqueue();

    const std::function<void()> changed_;
    bool isQueued_ = false;
};

}  // namespace quendokit
