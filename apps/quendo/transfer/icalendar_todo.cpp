#include <array>
#include <utility>

#include <fmt/format.h>

#include "apps/quendo/transfer/icalendar_exact_internal.hpp"
#include "apps/quendo/transfer/icalendar_handles_internal.hpp"
#include "apps/quendo/transfer/icalendar_todo_internal.hpp"

namespace quendo::icalendar {
namespace {

/// A line as libical understands it. Null when it does not.
class Property {
public:
    explicit Property(std::string line) {
        std::array<std::string, 3> lines{"BEGIN:VTODO", std::move(line), "END:VTODO"};
        component_ = parseComponent(lines);
        if (component_ == nullptr) {
            return;
        }
        const bool isUnderstood = icalcomponent_count_properties(component_.get(), ICAL_XLICERROR_PROPERTY) == 0;
        property_ = isUnderstood ? icalcomponent_get_first_property(component_.get(), ICAL_ANY_PROPERTY) : nullptr;
    }

    explicit operator bool() const { return property_ != nullptr; }

    /// Of a property whose value is text, its escapes resolved.
    [[nodiscard]] std::string text() const {
        const char* text = icalvalue_get_text(icalproperty_get_value(property_));
        return text == nullptr ? "" : text;
    }

    /// Empty when it names none.
    [[nodiscard]] std::string zone() const {
        icalparameter* parameter = icalproperty_get_first_parameter(property_, ICAL_TZID_PARAMETER);
        const char* zone = parameter == nullptr ? nullptr : icalparameter_get_tzid(parameter);
        return zone == nullptr ? "" : zone;
    }

private:
    Component component_;
    icalproperty* property_ = nullptr;
};

/// Goes through the lines of one to-do.
class TodoParser {
public:
    Todo parse(const ComponentSpan& span) {
        ContentLines lines(span.text, span.line);
        std::vector<std::string> open;
        for (ContentLine line; lines.next(line);) {
            const std::string name = line.name();
            if (name == "BEGIN") {
                open.push_back(upperCase(line.value()));
            } else if (name == "END") {
                open.pop_back();
            } else if (open.size() == 1) {
                take(name, line);
            } else if (open.size() == 2 && open.back() == "VALARM" && name == "TRIGGER") {
                takeTrigger(line);
            }
        }
        return std::move(todo_);
    }

private:
    void take(const std::string& name, const ContentLine& line) {
        if (name == "UID") {
            takeText(line, todo_.uid);
        } else if (name == "SUMMARY") {
            takeText(line, todo_.summary);
        } else if (line.value().empty()) {
            return;
        } else if (name == "STATUS") {
            todo_.status = upperCase(line.value());
        } else if (name == "DUE") {
            takeMoment(name, line, todo_.due);
        } else if (name == "DTSTART") {
            takeMoment(name, line, todo_.start);
        } else if (name == "COMPLETED") {
            takeMoment(name, line, todo_.completed);
        } else if (name == "RRULE" || name == "RDATE") {
            todo_.repeats = true;
        } else if (name == "RECURRENCE-ID") {
            todo_.isOccurrence = true;
        } else if (name.starts_with("X-QUENDO-")) {
            takeOwn(name, line);
        }
    }

    void takeOwn(const std::string& name, const ContentLine& line) {
        const std::string value(line.value());
        if (name == conditionName) {
            todo_.condition = upperCase(value);
        } else if (name == exactTitleName) {
            todo_.exactTitle = percentDecoded(value);
            noteUnless(todo_.exactTitle.has_value(), name, line, "export again, or remove the line");
        } else if (name == exactDueName) {
            todo_.exactDue = fromExactText(value);
            noteUnless(todo_.exactDue.has_value(), name, line, "export again, or remove the line");
        } else if (name == exactCompletedName) {
            todo_.exactCompleted = fromExactText(value);
            noteUnless(todo_.exactCompleted.has_value(), name, line, "export again, or remove the line");
        }
    }

    void takeText(const ContentLine& line, std::optional<std::string>& target) {
        if (target) {
            return;
        }
        if (line.value().empty()) {
            target = "";
            return;
        }
        const Property property(line.text);
        if (noteUnless(static_cast<bool>(property), line.name(), line, "write it as NAME:value")) {
            target = property.text();
        }
    }

    void takeMoment(const std::string& name, const ContentLine& line, std::optional<StatedMoment>& target) {
        if (!target) {
            target = moment(name, line, Property(line.text));
        }
    }

    /// Alarms that hang on another moment say nothing of their own.
    void takeTrigger(const ContentLine& line) {
        const Property property(line.text);
        if (!property || upperCase(line.value()).find('P') != std::string::npos) {
            return;
        }
        if (auto alarm = moment("TRIGGER", line, property)) {
            todo_.alarms.push_back(*std::move(alarm));
        }
    }

    std::optional<StatedMoment> moment(const std::string& name, const ContentLine& line, const Property& property) {
        constexpr const char* advice = "write it as 20261121T180000, or with a Z in UTC";
        if (!noteUnless(static_cast<bool>(property), name, line, advice)) {
            return std::nullopt;
        }
        const icaltimetype time = icaltime_from_string(std::string(line.value()).c_str());
        StatedMoment moment{fmt::format("{} (line {})", name, line.number),
                            {time.year, time.month, time.day, time.hour, time.minute, time.second},
                            time.is_date != 0,
                            icaltime_is_utc(time) != 0,
                            property.zone()};
        const bool exists = icaltime_is_null_time(time) == 0 && isValid(moment.reading);
        return noteUnless(exists, name, line, advice) ? std::optional(std::move(moment)) : std::nullopt;
    }

    /// Notes that the line cannot be read, unless `isGood`, which it answers.
    bool noteUnless(bool isGood, std::string_view name, const ContentLine& line, std::string_view advice) {
        if (!isGood && !todo_.problem) {
            todo_.problem =
                fmt::format("{} (line {}) cannot be read: {}; {}", name, line.number, quotedText(line.value()), advice);
        }
        return isGood;
    }

    Todo todo_;
};

}  // namespace

Todo parseTodo(const ComponentSpan& span) {
    return TodoParser().parse(span);
}

}  // namespace quendo::icalendar
