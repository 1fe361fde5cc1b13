#pragma once
/// \file
/// The one query behind every listing, count and look-up: which record is in which list at a given instant.

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {

/// The three lists, in their order.
enum class ReminderList { mac, upcoming, remaining };
inline constexpr std::array allReminderLists = {ReminderList::mac, ReminderList::upcoming, ReminderList::remaining};

/// The records of the three lists, each in its list's order.
struct ReminderItems {
    std::vector<ReminderItem> macReminders;
    std::vector<ReminderItem> upcomingReminders;
    std::vector<ReminderItem> remainingReminders;
};

/// One list at the instant `now`, in its order.
[[nodiscard]] QUENDOKIT_EXPORT Results<ReminderItem> resultsOf(ReminderList list, const Realm& realm,
                                                               bool includingDeleted, Date now);

/// Those records of `set` that are in a list at the instant `now`: mac, upcoming, remaining, each in its list's order.
/// Costs by the size of `set`, not of the lists.
[[nodiscard]] QUENDOKIT_EXPORT std::vector<ReminderItem> inListOrder(const Results<ReminderItem>& set, Date now);

/// The list that holds `item` at the instant `now`; absent when none does. Answers for one record what `resultsOf`
/// answers for all, so that a look-up need not read them.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderList> listOf(const ReminderItem& item, Date now);

/// The record with this id, in a list or not; absent when there is none.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderItem> storedItem(const Realm& realm, std::string_view id);

/// The record with this id, in whatever list; absent when there is none, or it is in none of the lists at `now`.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderItem> listedItem(const Realm& realm, std::string_view id,
                                                                      Date now);

}  // namespace quendokit
