#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "apps/quendo/transfer/icalendar_handles_internal.hpp"
#include "apps/quendo/transfer/icalendar_zones_internal.hpp"

namespace quendo::icalendar {

using quendokit::Date;
using quendokit::LocalDateTime;
using quendokit::LocalTimeZone;

namespace {

constexpr std::int64_t secondsOfDay = 86'400;

/// Whether the system's zone data may be asked for `name`: no path may lead out of it.
bool isZoneName(std::string_view name) {
    constexpr std::string_view signs = "/_+-";
    const auto isAllowed = [&](char c) {
        return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9') ||
               signs.find(c) != std::string_view::npos;
    };
    return !name.empty() && name.front() != '/' && std::all_of(name.begin(), name.end(), isAllowed);
}

/// The zone of the system's data whose name ends a global one, as "/citadel.org/20210210_1/Europe/Berlin".
std::shared_ptr<const LocalTimeZone> zoneAtEndOf(std::string_view name) {
    while (name.starts_with('/')) {
        name.remove_prefix(1);
        // Names of one part stand for links and rules too, as "localtime" does.
        const bool mayBeZone = isZoneName(name) && name.find('/') != std::string_view::npos;
        auto zone = mayBeZone ? LocalTimeZone::make(std::string(name)) : nullptr;
        if (zone) {
            return zone;
        }
        const auto next = name.find('/');
        name = next == std::string_view::npos ? std::string_view() : name.substr(next);
    }
    return nullptr;
}

/// Whether libical can follow the rule in reasonable time: the clocks of no place are changed more often than some
/// days a year, and a rule for every second would never end.
bool isYearlyRule(std::string_view rule) {
    constexpr std::size_t longest = 150;
    constexpr std::array<std::string_view, 7> allowed{"BYMONTH", "BYDAY",    "BYMONTHDAY", "UNTIL",
                                                      "COUNT",   "INTERVAL", "WKST"};
    if (rule.size() > longest) {
        return false;
    }
    bool isYearly = false;
    while (!rule.empty()) {
        const std::string part = upperCase(rule.substr(0, rule.find(';')));
        rule.remove_prefix(std::min(part.size() + 1, rule.size()));
        const std::string_view name = std::string_view(part).substr(0, part.find('='));
        if (part == "FREQ=YEARLY") {
            isYearly = true;
        } else if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
            return false;
        }
    }
    return isYearly;
}

/// "+0100" or "+013000"; libical takes anything else for no offset at all.
bool isOffset(std::string_view value) {
    const bool hasSign = value.starts_with('+') || value.starts_with('-');
    return hasSign && (value.size() == 5 || value.size() == 7) &&
           value.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

/// The lines of a definition that tell of its offsets; absent when libical may not be given one of them.
std::optional<std::vector<std::string>> rulesOf(const ComponentSpan& definition) {
    constexpr std::array<std::string_view, 7> wanted{"BEGIN",        "END",        "TZID", "DTSTART",
                                                     "TZOFFSETFROM", "TZOFFSETTO", "RDATE"};
    std::vector<std::string> lines;
    ContentLines source(definition.text, definition.line);
    for (ContentLine line; source.next(line);) {
        const std::string name = line.name();
        const bool isOdd = (name == "RRULE" && !isYearlyRule(line.value())) ||
                           (name.starts_with("TZOFFSET") && !isOffset(line.value()));
        if (isOdd) {
            return std::nullopt;
        }
        if (name == "RRULE" || std::find(wanted.begin(), wanted.end(), name) != wanted.end()) {
            lines.push_back(std::move(line.text));
        }
    }
    return lines;
}

/// Whether there is a part, and every part says since when it holds and what it does.
bool tellsOffsets(const Component& definition) {
    icalcomponent* part = icalcomponent_get_first_component(definition.get(), ICAL_ANY_COMPONENT);
    const bool hasParts = part != nullptr;
    for (; part != nullptr; part = icalcomponent_get_next_component(definition.get(), ICAL_ANY_COMPONENT)) {
        for (const auto kind : {ICAL_DTSTART_PROPERTY, ICAL_TZOFFSETFROM_PROPERTY, ICAL_TZOFFSETTO_PROPERTY}) {
            if (icalcomponent_count_properties(part, kind) != 1) {
                return false;
            }
        }
    }
    return hasParts;
}

}  // namespace

/// A zone by the rules of a file. libical is asked for offsets only; what a skipped or repeated reading means is
/// decided here, as for every other zone.
class Zones::Defined {
public:
    explicit Defined(const ComponentSpan& definition) {
        auto lines = rulesOf(definition);
        Component component = lines ? parseComponent(*lines) : nullptr;
        if (component == nullptr || !tellsOffsets(component)) {
            return;
        }
        Zone zone(icaltimezone_new());
        // A zone that takes the component owns it.
        icalcomponent* const given = component.release();
        if (icaltimezone_set_component(zone.get(), given) != 0) {
            zone_ = std::move(zone);
        } else {
            component.reset(given);
        }
    }

    [[nodiscard]] std::optional<Date> locate(const LocalDateTime& reading) const {
        if (zone_ == nullptr) {
            return std::nullopt;
        }
        const std::int64_t wall = quendokit::wallSeconds(reading);
        const std::int64_t before = offset(wall - 2 * secondsOfDay);
        const std::int64_t after = offset(wall + 2 * secondsOfDay);
        if (std::max(std::abs(before), std::abs(after)) >= secondsOfDay) {
            return std::nullopt;
        }
        if (offset(wall - before) == before) {
            return Date(static_cast<double>(wall - before));
        }
        // The clocks skip the reading when they do not show it here either; then the end of the gap lies in between.
        std::int64_t early = wall - after - 1;
        std::int64_t late = offset(early + 1) == after ? early + 1 : wall - before;
        while (late - early > 1) {
            const std::int64_t middle = early + (late - early) / 2;
            (middle + offset(middle) >= wall ? late : early) = middle;
        }
        return Date(static_cast<double>(late));
    }

private:
    /// Seconds ahead of UTC at `moment`.
    [[nodiscard]] std::int64_t offset(std::int64_t moment) const {
        const LocalDateTime utc = quendokit::fromWallSeconds(moment);
        icaltimetype time = icaltime_null_time();
        time.year = static_cast<int>(utc.year);
        time.month = utc.month;
        time.day = utc.day;
        time.hour = utc.hour;
        time.minute = utc.minute;
        time.second = utc.second;
        return icaltimezone_get_utc_offset_of_utc_time(zone_.get(), &time, nullptr);
    }

    Zone zone_;
};

Zones::Zones(const std::vector<ComponentSpan>& definitions) {
    for (const ComponentSpan& definition : definitions) {
        ContentLines lines(definition.text, definition.line);
        for (ContentLine line; lines.next(line);) {
            if (line.name() == "TZID") {
                definitions_.emplace(line.value(), definition);
                break;
            }
        }
    }
}

Zones::~Zones() = default;

Zones::Found Zones::find(const std::string& name) const {
    if (isZoneName(name)) {
        if (auto zone = LocalTimeZone::make(name)) {
            return {std::move(zone), nullptr};
        }
    }
    if (const auto definition = definitions_.find(name); definition != definitions_.end()) {
        return {nullptr, std::make_unique<Defined>(definition->second)};
    }
    return {zoneAtEndOf(name), nullptr};
}

std::optional<Date> Zones::locate(const std::string& zone, const LocalDateTime& reading) {
    auto known = known_.find(zone);
    if (known == known_.end()) {
        known = known_.emplace(zone, find(zone)).first;
    }
    const Found& found = known->second;
    if (found.system) {
        const auto located = found.system->locate(reading);
        return located ? std::optional(located->date) : std::nullopt;
    }
    return found.defined ? found.defined->locate(reading) : std::nullopt;
}

}  // namespace quendo::icalendar
