#include <cstddef>
#include <iterator>

#include "quendokit/model/device_type.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/store/reminder_lists_internal.hpp"

namespace quendokit {
namespace {

constexpr std::int64_t mac = DeviceType::mac;
constexpr std::int64_t noDevice = ReminderItem::noDevice;

Results<ReminderItem> baseSet(const Realm& realm, bool includingDeleted) {
    auto all = realm.objects<ReminderItem>();
    return includingDeleted ? all : std::move(all).filter("deleted != true");
}

QueryOrder orderOf(ReminderList list) {
    switch (list) {
        case ReminderList::mac:
            return {"title", true};
        case ReminderList::upcoming:
            return {"_datetime", true};
        case ReminderList::remaining:
            return {"completionDate", false};
    }
    fatalError("no such list");
}

Results<ReminderItem> membersOf(ReminderList list, const Realm& realm, bool includingDeleted, Date now) {
    Results<ReminderItem> base = baseSet(realm, includingDeleted);
    switch (list) {
        case ReminderList::mac:
            return std::move(base).filter("_device = %@ AND shown = false", mac);
        case ReminderList::upcoming:
            return std::move(base).filter("_device = %@", noDevice).filter("_datetime > %@", now);
        case ReminderList::remaining:
            return std::move(base).filter("(shown = true AND _device != %@) OR (_datetime < %@ AND _device = %@)",
                                          noDevice, now, noDevice);
    }
    fatalError("no such list");
}

}  // namespace

Results<ReminderItem> resultsOf(ReminderList list, const Realm& realm, bool includingDeleted, Date now) {
    const QueryOrder order = orderOf(list);
    return membersOf(list, realm, includingDeleted, now).sorted(order.property, order.ascending);
}

std::vector<ReminderItem> inListOrder(const Results<ReminderItem>& set, Date now) {
    std::array<std::vector<ReminderItem>, allReminderLists.size()> lists;
    set.forEach([&](ReminderItem&& item) {
        if (const auto list = listOf(item, now)) {
            lists[static_cast<std::size_t>(*list)].push_back(std::move(item));
        }
        return true;
    });
    std::vector<ReminderItem> ordered;
    for (const ReminderList list : allReminderLists) {
        auto& items = lists[static_cast<std::size_t>(list)];
        sortObjects(items, orderOf(list));
        ordered.insert(ordered.end(), std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
    }
    return ordered;
}

std::optional<ReminderList> listOf(const ReminderItem& item, Date now) {
    if (item._device == mac && !item.shown) {
        return ReminderList::mac;
    }
    if (item._device == noDevice && item._datetime > now) {
        return ReminderList::upcoming;
    }
    if ((item.shown && item._device != noDevice) || (item._datetime < now && item._device == noDevice)) {
        return ReminderList::remaining;
    }
    return std::nullopt;
}

std::optional<ReminderItem> storedItem(const Realm& realm, std::string_view id) {
    std::optional<ReminderItem> found;
    realm.objects<ReminderItem>().filter("ID = %@", id).forEach([&](ReminderItem&& item) {
        found = std::move(item);
        return false;
    });
    return found;
}

std::optional<ReminderItem> listedItem(const Realm& realm, std::string_view id, Date now) {
    auto item = storedItem(realm, id);
    return item && listOf(*item, now) ? std::move(item) : std::nullopt;
}

}  // namespace quendokit
