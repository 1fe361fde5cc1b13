#pragma once
/// \file
/// `Options`, the person's day plan.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/model/day.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit {

class Timer;
class UserDefaults;

/// When the person's days, evenings and weekends begin, and how long to postpone.
///
/// The settings stand in `UserDefaults::standard()` under `OptionKeys` and are read there each time; a missing one, or
/// one of the wrong kind, reads as its default, which is not written back. Numbers are not checked. Times of day are
/// seconds since local midnight, 34'200 for 09:30; durations are seconds.
///
/// They follow the person through `NSUbiquitousKeyValueStore::defaultStore()`: three seconds after the last write here
/// all settings are copied up, and all are copied down when others arrive. The last writer wins each setting; a removed
/// one is not removed elsewhere.
///
/// There is one instance, made on first use of any member. Reading: any thread. Writing arms a timer on the run loop of
/// the calling thread: main thread only.
class QUENDOKIT_EXPORT Options : public std::enable_shared_from_this<Options> {
    struct PrivateTag {};

public:
    /// The first day of the working week; Monday by default. Fatal if the stored number is below 1, unless it is 1 less
    /// a multiple of 7.
    [[nodiscard]] static Day FirstWorkday();
    static void setFirstWorkday(Day day);
    /// The first day of the weekend; Saturday by default. Fatal as above.
    [[nodiscard]] static Day FirstWeekend();
    static void setFirstWeekend(Day day);

    // Writing a negative number to one of the six settings below means that long before now: at 10:00:00, -3'600 writes
    // 32'400, which is 09:00; what would fall on or before midnight is a day later. Fatal if that does not fit 64 bits.

    /// When the morning of a workday begins; 32'400 (09:00) by default.
    [[nodiscard]] static std::int64_t WorkdayMorning();
    static void setWorkdayMorning(std::int64_t time);
    /// When the morning of a weekend day begins; 39'600 (11:00) by default.
    [[nodiscard]] static std::int64_t WeekendMorning();
    static void setWeekendMorning(std::int64_t time);
    /// When the afternoon begins; 43'200 (12:00) by default.
    [[nodiscard]] static std::int64_t Afternoon();
    static void setAfternoon(std::int64_t time);
    /// When the evening begins; 64'800 (18:00) by default.
    [[nodiscard]] static std::int64_t Evening();
    static void setEvening(std::int64_t time);
    /// How long "later" is; 10'800 (3 hours) by default.
    [[nodiscard]] static std::int64_t Later();
    static void setLater(std::int64_t seconds);
    /// How long the short postpone of a notification is; 1'200 (20 minutes) by default.
    [[nodiscard]] static std::int64_t Postpone();
    static void setPostpone(std::int64_t seconds);

    /// Whether the person has the companion application for the desktop. Absent when not known, as by default; writing
    /// an absent value removes the setting.
    [[nodiscard]] static std::optional<bool> HasMacApp();
    static void setHasMacApp(std::optional<bool> has);

    /// The days from `FirstWorkday()` up to `FirstWeekend()`; Monday to Friday by default. Both lists are
    /// `Day::All()` when the two are the same day.
    [[nodiscard]] static std::vector<Day> Workdays();
    /// The days from `FirstWeekend()` up to `FirstWorkday()`; Saturday and Sunday by default.
    [[nodiscard]] static std::vector<Day> Weekend();

    /// When the morning of today begins: `WeekendMorning()` on a day of `Weekend()`, else `WorkdayMorning()`.
    [[nodiscard]] static std::int64_t ThisMorning();
    /// The same for the day that it is 86,400 seconds from now.
    [[nodiscard]] static std::int64_t TomorrowMorning();
    /// While today's morning is still ahead: when the morning of the day after begins. From then on: when today's does.
    /// This direction is intended.
    [[nodiscard]] static std::int64_t NextMorning();

    /// Writes the defaults of all settings but `HasMacApp`.
    static void reset();

    /// Called on the main queue after settings have arrived from another device. Empty when not set.
    [[nodiscard]] static std::function<void()> syncObserver();
    static void setSyncObserver(std::function<void()> observer);

    /// What a settings screen calls the settings, in the person's language; resolved once per process, on first use.
    struct QUENDOKIT_EXPORT Name {
        [[nodiscard]] static const std::string& FirstWorkday();
        [[nodiscard]] static const std::string& FirstWeekend();
        [[nodiscard]] static const std::string& WorkdayMorning();
        [[nodiscard]] static const std::string& WeekendMorning();
        /// Spelled with three o's, as hosts know it.
        [[nodiscard]] static const std::string& Afternooon();
        [[nodiscard]] static const std::string& Evening();
        [[nodiscard]] static const std::string& Later();
        [[nodiscard]] static const std::string& Postpone();
    };

    explicit Options(PrivateTag tag);
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    ~Options();

    /// The action of the timer that a write arms: copies the settings up. The thread of the timer.
    void triggerSync(Timer& timer);
    /// Hears that the key-value store changed: copies the settings down when they come from the server or arrive for
    /// the first time; does nothing for other reasons. Any thread.
    void cloudChanged(const Notification& notification);

private:
    struct Shared;

    static Options& sharedOptions();

    [[nodiscard]] std::optional<PropertyValue> retrieveOption(std::string_view key) const;
    [[nodiscard]] std::int64_t retrieveInteger(std::string_view key, std::int64_t absent) const;
    [[nodiscard]] Day retrieveDay(std::string_view key, Day absent) const;
    void storeTime(std::int64_t time, std::string_view key);
    void store(std::string_view key, PropertyValue value);
    void optionsChanged();
    void syncToCloud();
    void syncFromCloud();

    UserDefaults& UD_;
    std::function<void()> _syncObserver;
    std::shared_ptr<Timer> syncTimer_;
    std::optional<NotificationCenter::Observer> cloudObserver_;
};

}  // namespace quendokit
