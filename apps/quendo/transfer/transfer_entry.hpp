#pragma once
/// \file
/// `TransferEntry`, one reminder on its way out of, or into, a file.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendo {

/// Where a file names a reminder; both count from 1. Zeros for an entry that came from no file.
struct TransferPlace {
    std::size_t entry = 0;
    /// The line on which the entry begins.
    std::size_t line = 0;
};

/// How a record stands on this device. Files tell it, and reading them ignores it.
struct TransferStanding {
    /// Absent when the reminder is in no list at this instant.
    std::optional<quendokit::ReminderList> list;
    bool pending;
    bool deleted;
};

/// One reminder. Plain value.
///
/// What a reader answers keeps these promises: the title is UTF-8 without NUL and not blank; the id has 1 to 255
/// characters of printable ASCII and is no other entry's; moments are finite and after 1970-01-01 00:00:00 UTC.
struct TransferEntry {
    /// Absent for a reminder that shall be new.
    std::optional<std::string> id;
    std::string title;
    bool shown;
    quendokit::ReminderCondition condition;
    /// `ReminderItem::completionDate`; absent when the file does not say.
    std::optional<quendokit::Date> completed;
    /// Absent in what a reader answers.
    std::optional<TransferStanding> standing = {};
    TransferPlace place = {};
};

/// What a file holds.
struct TransferDocument {
    std::vector<TransferEntry> entries;
    /// Lines for the person about what was left out, each without the file's name: "12 events were left out …".
    std::vector<std::string> warnings;
};

/// Hears now and then how much of the work is done, and once at its end, then with two equal numbers. Writers count
/// entries, readers count bytes. May be empty.
using TransferProgress = std::function<void(std::size_t done, std::size_t total)>;

/// "entry 3 (line 12)", for lines to the person.
[[nodiscard]] std::string placeText(const TransferPlace& place);

}  // namespace quendo
