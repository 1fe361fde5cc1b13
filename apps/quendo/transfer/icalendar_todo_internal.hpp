#pragma once
/// \file
/// One to-do of iCalendar, as its lines tell it.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "adapters/cctz/local_date_time.hpp"
#include "apps/quendo/transfer/icalendar_lines_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo::icalendar {

/// A moment as a property states it.
struct StatedMoment {
    /// What lines to the person call it: "DUE (line 12)".
    std::string name;
    /// Valid. Midnight when only a date is stated.
    quendokit::LocalDateTime reading;
    bool isDate = false;
    bool isUtc = false;
    /// Empty for the local zone.
    std::string zone;
};

/// What stands in a to-do. Where a property comes twice, the first counts; an empty one counts as absent, but for
/// the title and the identifier.
struct Todo {
    std::optional<std::string> uid;
    std::optional<std::string> summary;
    std::optional<std::string> status;
    std::optional<StatedMoment> due;
    std::optional<StatedMoment> start;
    std::optional<StatedMoment> completed;
    /// Alarms at a moment of their own.
    std::vector<StatedMoment> alarms;

    std::optional<std::string> condition;
    std::optional<std::string> exactTitle;
    std::optional<quendokit::Date> exactDue;
    std::optional<quendokit::Date> exactCompleted;

    bool repeats = false;
    /// One occurrence of a repeating to-do, which stands in the file too.
    bool isOccurrence = false;

    /// The first line that cannot be read.
    TransferProblem problem;
};

[[nodiscard]] Todo parseTodo(const ComponentSpan& span);

}  // namespace quendo::icalendar
