#pragma once
/// \file
/// `EventLoop`, a run loop and a queue of tasks on the standard library.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/run_loop.hpp"

namespace quendokit {

/// One thread's loop: fires its timers and runs the tasks submitted to it. It belongs to the thread that makes it; only
/// that thread runs it, and any thread adds, submits and stops. The main thread's is also the main queue:
///
///     const auto loop = std::make_shared<EventLoop>();
///     services.runLoopProvider = std::make_shared<EventLoopProvider>(loop);
///     services.mainQueue = loop;
///     platform::install(services);
///     loop->run();
///
/// Works in turns: first the tasks that wait when a turn begins, then the timers that are due by then. What they submit
/// or add waits for a later turn, so that neither tasks nor timers keep the others waiting. Intervals are time of the
/// steady clock, which stands still while the computer sleeps. With nothing to do the thread sleeps until somebody
/// wakes it. Tasks and actions must not throw.
///
/// A loop that ends invalidates its timers and lets go of the tasks that have not run.
class QUENDOKIT_EXPORT EventLoop final : public RunLoop, public DispatchQueue {
public:
    EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    ~EventLoop() override;

    void add(std::shared_ptr<Timer> timer, RunLoopMode mode) override;
    void async(Task task) override;

    /// Runs until `stop`. Fatal on another thread than the loop's, and inside a task or an action of the loop.
    void run();

    /// Runs until `done` answers true, until `atMost` has passed (0: one turn, without sleeping) or until `stop`;
    /// answers what `done` answered last. It is asked at the beginning, after each task and action, and at the end; who
    /// makes it true elsewhere submits a task. Fatal where `run` is.
    [[nodiscard]] bool runUntil(const std::function<bool()>& done, std::chrono::nanoseconds atMost);

    /// Ends the run that is going on, after the task or action that runs now, or else the next one at its beginning.
    /// What has not run waits for the run after it. Several calls until a run ends count as one. Any thread.
    void stop();

    /// Ends the loop for good, as its destructor does: invalidates its timers, lets go of the tasks that have not run,
    /// and keeps no later ones. For hosts whose tasks and timers hold the loop themselves.
    void end();

    /// Whether the calling thread is the loop's. Any thread.
    [[nodiscard]] bool isOnItsThread() const;

    /// How often the thread has woken from its sleep. Any thread.
    [[nodiscard]] std::uint64_t wakeUpCount() const;

private:
    struct State;
    class Running;

    bool runToDeadline(const std::function<bool()>& done, std::chrono::steady_clock::time_point deadline);

    const std::unique_ptr<State> state_;
};

}  // namespace quendokit
