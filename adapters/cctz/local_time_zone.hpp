#pragma once
/// \file
/// `LocalTimeZone`: from moments to what the clocks of a place show, and back.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "adapters/cctz/local_date_time.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class TimeZoneRules;

/// How often the clocks of a zone show a reading.
enum class LocalTimeKind {
    /// Once.
    unique,
    /// Never: they were put forward over it.
    skipped,
    /// Twice: they were put back over it.
    repeated,
};

/// Where a reading lies in time.
struct LocatedInstant {
    /// The moment of the reading; of two, the first; for a skipped one, the first moment after the gap.
    Date date;
    LocalTimeKind kind;
    /// The second moment of a repeated reading; absent for others.
    std::optional<Date> second;

    friend constexpr bool operator==(const LocatedInstant&, const LocatedInstant&) noexcept = default;
};

/// The rules of one time zone as they were when the object was made.
///
/// Immutable and shared. Members: any thread. Making one reads the environment and files: any thread, as long as no
/// other thread changes the environment meanwhile. Files are read again only when they changed.
class QUENDOKIT_EXPORT LocalTimeZone {
    struct PrivateTag {};

public:
    /// The zone of this device now, read anew by each call, so that a program which asks again follows a traveller.
    ///
    /// TZ decides when it is set: a name as "Europe/Berlin", a file's absolute path, or a rule as
    /// "EST5EDT4,M3.2.0,M11.1.0"; one leading colon is ignored. Else the link or file /etc/localtime does. UTC when TZ
    /// is empty or cannot be understood, or when that file cannot. A rule is asked of the C library, which takes
    /// milliseconds, and remembered. Never null.
    [[nodiscard]] static std::shared_ptr<const LocalTimeZone> current();

    /// The zone of that name in the system's zone data, or of the file at that absolute path. Null when there is none.
    [[nodiscard]] static std::shared_ptr<const LocalTimeZone> make(const std::string& name);

    /// The zone that `file`, such as /etc/localtime, holds or links to. Null when it holds none.
    [[nodiscard]] static std::shared_ptr<const LocalTimeZone> fromFile(const std::filesystem::path& file);

    LocalTimeZone(PrivateTag tag, std::string name, std::shared_ptr<const TimeZoneRules> rules);
    LocalTimeZone(const LocalTimeZone&) = delete;
    LocalTimeZone& operator=(const LocalTimeZone&) = delete;
    ~LocalTimeZone();

    /// "Europe/Berlin"; the rule or path itself when the zone has no name.
    [[nodiscard]] const std::string& name() const noexcept { return name_; }

    /// The moment at which the clocks show `reading`. In New York `{2026, 3, 8, 2, 30, 0}` is skipped: its
    /// moment is that of 03:00:00, `Date(1'772'953'200)`. `{2026, 11, 1, 1, 30, 0}` is repeated an hour later.
    /// Absent when `reading` is not valid.
    [[nodiscard]] std::optional<LocatedInstant> locate(const LocalDateTime& reading) const;

    /// What the clocks show at `date`, its fraction cut off: half a second before 18:00:00 they show 17:59:59. Absent
    /// when `date` is not finite or lies further away than any valid reading.
    [[nodiscard]] std::optional<LocalDateTime> localDateTime(Date date) const;

    /// Seconds by which the clocks are ahead of UTC at `date`, -18'000 in New York in winter. Absent as above.
    [[nodiscard]] std::optional<int> offset(Date date) const;

    /// `date` with the offset, its fraction cut off: "2026-11-21T18:00:00-05:00". An offset that has seconds shows
    /// them: "-00:44:30". Absent when `date` is not finite or its local year is not of four digits, 0001 to 9999.
    [[nodiscard]] std::optional<std::string> text(Date date) const;

private:
    /// Writes the rules down for itself.
    friend class LocalCalendar;

    const std::string name_;
    const std::shared_ptr<const TimeZoneRules> rules_;
};

}  // namespace quendokit
