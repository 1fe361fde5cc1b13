#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/transfer/icalendar_exact_internal.hpp"
#include "apps/quendo/transfer/icalendar_handles_internal.hpp"
#include "apps/quendo/transfer/transfer_formats_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

using quendokit::Date;

void add(const icalendar::Component& component, icalproperty* property) {
    icalcomponent_add_property(component.get(), property);
}

/// Adds a line that libical has no say in.
void addLine(const icalendar::Component& component, std::string_view name, const std::string& value) {
    icalproperty* property = icalproperty_new_x(value.c_str());
    icalproperty_set_x_name(property, std::string(name).c_str());
    add(component, property);
}

/// As a line, because libical writes zeros for years after 3000.
void addMoment(const icalendar::Component& component, std::string_view name, Date date) {
    addLine(component, name, icalendar::utcText(date));
}

/// Rings when the to-do falls due, also after another program moved that.
icalcomponent* alarm(const std::string& summary) {
    icalendar::Component component(icalcomponent_new(ICAL_VALARM_COMPONENT));
    add(component, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    add(component, icalproperty_new_description(summary.c_str()));
    icalproperty* trigger = icalproperty_new_trigger(icaltriggertype_from_string("PT0S"));
    icalproperty_add_parameter(trigger, icalparameter_new_related(ICAL_RELATED_END));
    add(component, trigger);
    return component.release();
}

void addCompletion(const icalendar::Component& todo, const TransferEntry& entry) {
    add(todo, icalproperty_new_status(entry.shown ? ICAL_STATUS_COMPLETED : ICAL_STATUS_NEEDSACTION));
    if (!entry.completed) {
        return;
    }
    // The record keeps such a moment before the reminder is shown too; COMPLETED would tell others that it was.
    if (entry.shown) {
        addMoment(todo, "COMPLETED", *entry.completed);
    }
    if (!entry.shown || !icalendar::isSaidByUtcText(*entry.completed)) {
        addLine(todo, icalendar::exactCompletedName, icalendar::exactText(*entry.completed));
    }
}

icalendar::Component makeTodo(const TransferEntry& entry, Date now) {
    icalendar::Component todo(icalcomponent_new(ICAL_VTODO_COMPONENT));
    if (entry.id) {
        add(todo, icalproperty_new_uid(entry.id->c_str()));
    }
    addMoment(todo, "DTSTAMP", now);
    const std::string title = plainText(entry.title);
    const std::string summary = icalendar::summaryOf(title);
    add(todo, icalproperty_new_summary(summary.c_str()));
    if (summary != title) {
        addLine(todo, icalendar::exactTitleName, icalendar::percentEncoded(title));
    }
    addCompletion(todo, entry);
    const auto date = entry.condition.date();
    if (!date) {
        addLine(todo, icalendar::conditionName, std::string(icalendar::macCondition));
        return todo;
    }
    addMoment(todo, "DUE", *date);
    if (!icalendar::isSaidByUtcText(*date)) {
        addLine(todo, icalendar::exactDueName, icalendar::exactText(*date));
    }
    icalcomponent_add_component(todo.get(), alarm(summary));
    return todo;
}

}  // namespace

std::string writeIcalendar(const std::vector<TransferEntry>& entries, const TransferWriting& writing) {
    TransferSteps steps(writing.progress, entries.size());
    std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//QuendoKit//quendo//EN\r\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const icalendar::Component todo = makeTodo(entries[i], writing.now);
        char* lines = icalcomponent_as_ical_string_r(todo.get());
        text += lines;
        icalmemory_free_buffer(lines);
        steps.done(i + 1);
    }
    text += "END:VCALENDAR\r\n";
    steps.finish();
    return text;
}

}  // namespace quendo
