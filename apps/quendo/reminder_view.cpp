#include "apps/quendo/reminder_view.hpp"

#include <utility>

namespace quendo {

using quendokit::ReminderList;

std::optional<ReminderView> makeReminderView(quendokit::ReminderItem item, quendokit::Date now) {
    const auto list = listOf(item, now);
    const bool pending = item.pending;
    const bool deleted = item.deleted;
    const auto reminder = makeReminderStruct(std::move(item));
    if (!reminder) {
        return std::nullopt;
    }
    return ReminderView{*reminder->id(), reminder->title(), reminder->shown(), reminder->condition(), list, pending,
                        deleted};
}

std::string_view nameOf(ReminderList list) {
    switch (list) {
        case ReminderList::mac:
            return "mac";
        case ReminderList::upcoming:
            return "upcoming";
        case ReminderList::remaining:
            return "passed";
    }
    return "";
}

}  // namespace quendo
