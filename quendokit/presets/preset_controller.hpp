#pragma once
/// \file
/// `PresetController`, the presets and what notifications have to do with them.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/presets/notification_action.hpp"
#include "quendokit/presets/notification_category.hpp"
#include "quendokit/presets/preset.hpp"

namespace quendokit {

/// Hands out the presets. Holds nothing; make as many as you like. Any thread.
///
/// The rules read the clock, the calendar and `Options` each time they are called. Below, "date" is the moment that a
/// rule is called with. Fatal if the calendar has no answer.
class QUENDOKIT_EXPORT PresetController {
public:
    /// What the presets are called in the person's language; resolved once per process, on first use.
    struct QUENDOKIT_EXPORT Names {
        [[nodiscard]] static const std::string& Later();
        [[nodiscard]] static const std::string& ThisAfternoon();
        [[nodiscard]] static const std::string& ThisEvening();
        [[nodiscard]] static const std::string& TomorrowMorning();
        [[nodiscard]] static const std::string& TomorrowAfternoon();
        [[nodiscard]] static const std::string& TomorrowEvening();
        [[nodiscard]] static const std::string& ThisWeekend();
        [[nodiscard]] static const std::string& NextWeek();
        [[nodiscard]] static const std::string& Custom();
        [[nodiscard]] static const std::string& Mac();
    };

    /// `Options::Later()` after date; an hour from now when that is not to come.
    [[nodiscard]] Preset Later() const;
    /// The afternoon of date's day; an hour from now when that is not to come.
    [[nodiscard]] Preset ThisAfternoon() const;
    /// The evening of date's day; an hour from now when that is not to come.
    [[nodiscard]] Preset ThisEvening() const;
    /// The morning after date: of date's own day until it begins, then of the day after. Whether it begins as on
    /// workdays or as on weekends follows the day that it is 86,400 seconds from now.
    [[nodiscard]] Preset TomorrowMorning() const;
    /// The afternoon of the day after date.
    [[nodiscard]] Preset TomorrowAfternoon() const;
    /// The evening of the day after date.
    [[nodiscard]] Preset TomorrowEvening() const;
    /// The morning of the first weekend day from now on; an hour after date when that is on the weekend already.
    [[nodiscard]] Preset ThisWeekend() const;
    /// The morning after the last weekend day from now on.
    [[nodiscard]] Preset NextWeek() const;
    /// Date itself: the host lets the person pick it.
    [[nodiscard]] Preset Custom() const;
    /// The next arrival at the person's computer; date does not matter.
    [[nodiscard]] Preset Mac() const;
    /// `Options::Postpone()` after date. Has no name and is not in `presets()`.
    [[nodiscard]] Preset Short() const;

    /// The ten with a name, in the order above. The same at any time: which to show is up to the host.
    [[nodiscard]] std::vector<Preset> presets() const;

    /// The category of a notification that fires at `date`: of the morning, the afternoon and the evening, the next one
    /// to begin on that day, else the morning. One that begins at that very time has begun. The morning is that of
    /// today, not of the day of `date`. Fatal if two of the three begin at the same time.
    [[nodiscard]] NotificationCategory notificationCategory(Date date) const;

    /// The preset that a button applies to the date of its reminder.
    [[nodiscard]] Preset postpone(NotificationAction action) const;

    /// The name of the event for the host's analytics when the preset at `index` of `presets()` was chosen:
    /// "added_later" for 0. "!? added_mystery" for an index that is not there.
    [[nodiscard]] std::string_view eventName(std::int64_t index) const;
};

}  // namespace quendokit
