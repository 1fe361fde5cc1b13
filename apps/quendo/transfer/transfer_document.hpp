#pragma once
/// \file
/// The two documents that reminders travel in, JSON and iCalendar, written and read as text.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/failure.hpp"
#include "apps/quendo/transfer/transfer_entry.hpp"

namespace quendo {

enum class TransferFormat {
    json,
    icalendar,
};

/// What a writer needs besides the entries.
struct TransferWriting {
    /// JSON tells local times on its clocks; iCalendar tells all in UTC.
    const quendokit::LocalTimeZone& zone;
    /// When the document is made; iCalendar says so in every entry.
    quendokit::Date now;
    TransferProgress progress = {};
};

/// What a reader needs besides the text.
struct TransferReading {
    /// How refusals name the text: a file, or "standard input". Written for a terminal, so escaped.
    std::string name;
    /// Where times lie that name no zone.
    const quendokit::LocalTimeZone& zone;
    /// Seconds after midnight at which a to-do of iCalendar falls due that names a date and no time. 32'400 is 09:00.
    std::int64_t timeOfDates = 32'400;
    TransferProgress progress = {};
};

/// `entries` as one document, with a line break at its end. Any thread.
[[nodiscard]] std::string writeTransfer(const std::vector<TransferEntry>& entries, TransferFormat format,
                                        const TransferWriting& writing);

/// Reads a document in either format, the calendars of other programs too, told apart by its first characters. All or
/// nothing: a failure is `ExitCode::usage` and one line that names the text, the entry or line, what is wrong with it
/// and what to do. Any thread.
///
/// A to-do of iCalendar falls due at its DUE, else its DTSTART, else its first alarm at a moment of its own. A time
/// that names no zone is local; a date alone is that date at `timeOfDates`, when the person is up, and not midnight.
/// STATUS or COMPLETED say that it was shown. What is no to-do, was cancelled or is one date of a repeating one is left
/// out with a warning.
[[nodiscard]] Outcome<TransferDocument> readTransfer(std::string_view text, const TransferReading& reading);

}  // namespace quendo
