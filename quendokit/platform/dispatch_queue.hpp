#pragma once
/// \file
/// `DispatchQueue`, work for another turn.

#include <functional>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A queue of tasks that run one at a time, in the order in which they were submitted.
class QUENDOKIT_EXPORT DispatchQueue {
public:
    using Task = std::function<void()>;

    DispatchQueue() = default;
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;
    virtual ~DispatchQueue() = default;

    /// The queue whose tasks run on the main thread.
    [[nodiscard]] static DispatchQueue& main();

    /// Queues `task` behind everything submitted before and returns without running it, on the main thread too. Any
    /// thread.
    virtual void async(Task task) = 0;
};

}  // namespace quendokit
