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

}  // namespace

Results<ReminderItem> resultsOf(ReminderList list, const Realm& realm, bool includingDeleted, Date now) {
    Results<ReminderItem> base = baseSet(realm, includingDeleted);
    switch (list) {
        case ReminderList::mac:
            return base.filter("_device = %@ AND shown = false", mac).sorted("title", true);
        case ReminderList::upcoming:
            return base.filter("_device = %@", noDevice).sorted("_datetime", true).filter("_datetime > %@", now);
        case ReminderList::remaining:
            return base
                .filter("(shown = true AND _device != %@) OR (_datetime < %@ AND _device = %@)", noDevice, now,
                        noDevice)
                .sorted("completionDate", false);
    }
    fatalError("no such list");
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

std::optional<ReminderItem> listedItem(const Realm& realm, std::string_view id, Date now) {
    std::optional<ReminderItem> found;
    realm.objects<ReminderItem>().filter("ID = %@", id).forEach([&](ReminderItem&& item) {
        if (listOf(item, now)) {
            found = std::move(item);
        }
        return false;
    });
    return found;
}

}  // namespace quendokit
