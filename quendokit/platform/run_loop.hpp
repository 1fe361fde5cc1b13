#pragma once
/// \file
/// `RunLoop`, where timers wait.

#include <memory>

#include "quendokit/platform/export.hpp"

namespace quendokit {

class Timer;

/// What a run loop attends to.
enum class RunLoopMode { default_ };

/// A thread's loop of timers.
class QUENDOKIT_EXPORT RunLoop {
public:
    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    virtual ~RunLoop() = default;

    /// The main thread's loop. Any thread.
    [[nodiscard]] static RunLoop& main();

    /// The calling thread's loop. Its timers fire only while that thread runs it.
    [[nodiscard]] static RunLoop& current();

    /// Arms `timer`, made elsewhere, in `mode`: it fires on this loop's thread, never inside this call and never before
    /// its interval has passed; a repeating one again an interval after it was due, and only once for several that it
    /// missed. Timers due at the same instant fire in the order in which they were added. The loop keeps the timer
    /// until a one-shot has fired or the timer is invalidated. Adding an invalid timer, or one that this loop has
    /// already, does nothing. A timer belongs to one loop. Any thread.
    virtual void add(std::shared_ptr<Timer> timer, RunLoopMode mode) = 0;
};

/// The run loops of a process. Any thread.
class QUENDOKIT_EXPORT RunLoopProvider {
public:
    RunLoopProvider() = default;
    RunLoopProvider(const RunLoopProvider&) = delete;
    RunLoopProvider& operator=(const RunLoopProvider&) = delete;
    virtual ~RunLoopProvider() = default;

    [[nodiscard]] virtual RunLoop& main() = 0;
    /// The calling thread's, made when it has none; lives as long as the thread.
    [[nodiscard]] virtual RunLoop& current() = 0;
};

}  // namespace quendokit
