#include <algorithm>
#include <functional>
#include <utility>

#include <fmt/format.h>

#include "apps/quendo/transfer/icalendar_exact_internal.hpp"
#include "apps/quendo/transfer/icalendar_handles_internal.hpp"
#include "apps/quendo/transfer/icalendar_todo_internal.hpp"
#include "apps/quendo/transfer/icalendar_zones_internal.hpp"
#include "apps/quendo/transfer/transfer_formats_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

using icalendar::StatedMoment;
using icalendar::Todo;
using quendokit::Date;
using quendokit::ReminderCondition;

/// Makes entries of to-dos.
class TodoReader {
public:
    TodoReader(const TransferReading& reading, const std::vector<icalendar::ComponentSpan>& zones)
        : reading_(reading), zones_(zones) {}

    /// Absent, with `problem` set, when the to-do can be no reminder.
    std::optional<TransferEntry> entry(const Todo& todo, std::string& problem) {
        problem_.reset();
        auto entry = makeEntry(todo);
        if (problem_) {
            problem = *problem_;
            return std::nullopt;
        }
        return entry;
    }

private:
    std::optional<TransferEntry> makeEntry(const Todo& todo) {
        if (refused(todo.problem) || (todo.uid && refused(problemOfIdentifier(*todo.uid)))) {
            return std::nullopt;
        }
        if (!todo.summary) {
            refused("the title is missing; add a SUMMARY");
            return std::nullopt;
        }
        const bool isTitleExact = todo.exactTitle && icalendar::summaryOf(*todo.exactTitle) == *todo.summary;
        const std::string& title = isTitleExact ? *todo.exactTitle : *todo.summary;
        const auto condition = refused(problemOfTitle(title)) ? std::nullopt : this->condition(todo);
        if (!condition) {
            return std::nullopt;
        }
        const bool shown = todo.status == "COMPLETED" || todo.completed;
        return TransferEntry{todo.uid, title, shown, *condition, completed(todo)};
    }

    std::optional<ReminderCondition> condition(const Todo& todo) {
        const std::optional<Date> date = dueDate(todo);
        if (problem_) {
            return std::nullopt;
        }
        if (date) {
            return ReminderCondition::dateTime(*date);
        }
        if (todo.condition == icalendar::macCondition) {
            return ReminderCondition::device(quendokit::DeviceType::mac);
        }
        refused("the to-do has no date; give it a DUE, or remove it");
        return std::nullopt;
    }

    /// What the to-do says of when it is due: DUE, else its start, else its first alarm.
    std::optional<Date> dueDate(const Todo& todo) {
        if (todo.due) {
            return exactly(*todo.due, todo.exactDue);
        }
        if (todo.start) {
            return checked(*todo.start, date(*todo.start));
        }
        std::optional<Date> first;
        for (const StatedMoment& alarm : todo.alarms) {
            const auto next = checked(alarm, date(alarm));
            first = first && next ? std::min(*first, *next, std::less<>()) : next;
            if (!next) {
                break;
            }
        }
        return first;
    }

    std::optional<Date> completed(const Todo& todo) {
        if (todo.completed) {
            return exactly(*todo.completed, todo.exactCompleted);
        }
        const auto exact = todo.exactCompleted;
        return exact && !refused(problemOfMoment(icalendar::exactCompletedName, *exact)) ? exact : std::nullopt;
    }

    /// `exact` when it agrees with what is stated, which is all that other programs know.
    std::optional<Date> exactly(const StatedMoment& stated, std::optional<Date> exact) {
        const auto date = this->date(stated);
        const bool agrees = date && exact && icalendar::utcText(*exact) == icalendar::utcText(*date);
        return checked(stated, agrees ? exact : date);
    }

    std::optional<Date> date(const StatedMoment& stated) {
        if (stated.isUtc) {
            return Date(static_cast<double>(wallSeconds(stated.reading)));
        }
        if (stated.zone.empty() || stated.isDate) {
            const std::int64_t timeOfDay = stated.isDate ? reading_.timeOfDates : 0;
            const auto local = quendokit::fromWallSeconds(wallSeconds(stated.reading) + timeOfDay);
            const auto located = reading_.zone.locate(local);
            return located ? std::optional(located->date) : std::nullopt;
        }
        const auto date = zones_.locate(stated.zone, stated.reading);
        if (!date) {
            refused(fmt::format("{} is in the zone {}, which is unknown; add its VTIMEZONE, or write the time in UTC",
                                stated.name, quotedText(stated.zone)));
        }
        return date;
    }

    std::optional<Date> checked(const StatedMoment& stated, std::optional<Date> date) {
        return date && !refused(problemOfMoment(stated.name, *date)) ? date : std::nullopt;
    }

    /// Keeps the first problem.
    bool refused(TransferProblem problem) {
        if (problem && !problem_) {
            problem_ = std::move(problem);
        }
        return problem_.has_value();
    }

    const TransferReading& reading_;
    icalendar::Zones zones_;
    TransferProblem problem_;
};

/// What was left out, and what was not taken as it is.
struct Counts {
    std::size_t others = 0;
    std::size_t cancelled = 0;
    std::size_t occurrences = 0;
    std::size_t repeating = 0;
};

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::vector<std::string> warningsOf(const Counts& counts) {
    std::vector<std::string> warnings;
    if (counts.others > 0) {
        warnings.push_back(counted(counts.others, "part that is no to-do (an event, for example) was left out",
                                   "parts that are no to-dos (events, for example) were left out"));
    }
    if (counts.cancelled > 0) {
        warnings.push_back(counted(counts.cancelled, "cancelled to-do was left out", "cancelled to-dos were left out"));
    }
    if (counts.repeating > 0) {
        warnings.push_back(counted(counts.repeating, "to-do repeats; it became a reminder for its first date",
                                   "to-dos repeat; each became a reminder for its first date"));
    }
    if (counts.occurrences > 0) {
        warnings.push_back(counted(counts.occurrences, "changed date of a repeating to-do was left out",
                                   "changed dates of repeating to-dos were left out"));
    }
    return warnings;
}

/// How a to-do is named: by number and line, and by what it says of itself.
std::string placeOf(const TransferPlace& place, const Todo& todo) {
    std::string text = placeText(place);
    if (todo.uid && !todo.uid->empty()) {
        text += ", UID " + quotedText(*todo.uid);
    }
    if (todo.summary && !todo.summary->empty()) {
        text += ", " + quotedText(*todo.summary);
    }
    return text;
}

/// Whether the to-do is one to read; counts it when it is not.
bool isWanted(const Todo& todo, Counts& counts) {
    if (todo.isOccurrence) {
        ++counts.occurrences;
    } else if (todo.status == "CANCELLED") {
        ++counts.cancelled;
    } else {
        return true;
    }
    return false;
}

}  // namespace

Outcome<TransferDocument> readIcalendar(std::string_view text, const TransferReading& reading) {
    // Else libical would end the program for what is wrong in a file.
    icalerror_set_errors_are_fatal(0);
    auto outline = icalendar::outlineOf(text, reading);
    if (!outline) {
        return outline.failure();
    }
    TodoReader reader(reading, outline.value().zones);
    TransferSteps steps(reading.progress, text.size());
    TransferIdentifiers identifiers;
    TransferDocument document;
    Counts counts{outline.value().others};
    std::size_t number = 0;
    for (const icalendar::ComponentSpan& span : outline.value().todos) {
        const Todo todo = icalendar::parseTodo(span);
        const TransferPlace place{++number, span.line};
        if (!isWanted(todo, counts)) {
            continue;
        }
        std::string problem;
        auto entry = reader.entry(todo, problem);
        if (!entry) {
            return refusalOf(reading, placeOf(place, todo), problem);
        }
        entry->place = place;
        if (const auto twice = identifiers.add(*entry)) {
            return refusalOf(reading, placeOf(place, todo), *twice);
        }
        counts.repeating += todo.repeats ? 1 : 0;
        document.entries.push_back(*std::move(entry));
        steps.done(static_cast<std::size_t>(span.text.data() + span.text.size() - text.data()));
    }
    document.warnings = warningsOf(counts);
    steps.finish();
    return document;
}

}  // namespace quendo
