#pragma once
/// \file
/// `WallClockAlarm`, which wakes a host at a moment of the wall clock, whatever the clock and the machine do until
/// then.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// What an alarm tells. Each may be absent.
struct WallClockEvents {
    /// The moment has come, or had passed already when it was set. Once for each `set`.
    std::function<void()> reached = {};
    /// The clock was set, or the machine slept: how long it is to the moment is another question now. The host sets it
    /// again.
    std::function<void()> clockChanged = {};
    /// The device may be in another time zone.
    std::function<void()> zoneChanged = {};
};

/// One alarm of the kernel's, on the wall clock. It does not wake a machine that sleeps; it comes when that wakes up.
/// Between its events nothing runs. Events come on a queue, and none after the destructor when that runs on the queue's
/// thread. Its members: one thread.
class QUENDOKIT_EXPORT WallClockAlarm {
public:
    /// Tells on `queue`. `zoneFile` is the link or file that names the device's zone. An error when the kernel gives no
    /// timer; the domain is "WallClockAlarm", the code that of `errno`.
    [[nodiscard]] static Result<std::unique_ptr<WallClockAlarm>> create(
        std::shared_ptr<DispatchQueue> queue, WallClockEvents events,
        const std::filesystem::path& zoneFile = "/etc/localtime");
    WallClockAlarm(const WallClockAlarm&) = delete;
    WallClockAlarm& operator=(const WallClockAlarm&) = delete;
    ~WallClockAlarm();

    /// The moment in place of the one before; absent for none.
    void set(std::optional<Date> moment);

private:
    class State;
    explicit WallClockAlarm(std::shared_ptr<State> state);

    const std::shared_ptr<State> state_;
};

}  // namespace quendokit
