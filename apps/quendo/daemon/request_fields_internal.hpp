#pragma once
/// \file
/// What requests and answers consist of: the one place that names their fields, in the order in which they are
/// declared.

#include <concepts>
#include <tuple>
#include <type_traits>

#include "apps/quendo/daemon/request_codec.hpp"
#include "apps/quendo/request.hpp"

namespace quendo {

/// A `Struct`, constant or not.
template <typename T, typename Struct>
concept Is = std::same_as<std::remove_const_t<T>, Struct>;

// clang-format off
constexpr auto fieldsOf(Is<PresetChoice> auto& v) { return std::tie(v.index); }
constexpr auto fieldsOf(Is<AddRequest> auto& v) { return std::tie(v.title, v.when); }
constexpr auto fieldsOf(Is<ListRequest> auto& v) { return std::tie(v.lists, v.includingDeleted, v.limit); }
constexpr auto fieldsOf(Is<ShowRequest> auto& v) { return std::tie(v.id); }
constexpr auto fieldsOf(Is<EditRequest> auto& v) { return std::tie(v.id, v.title, v.when); }
constexpr auto fieldsOf(Is<PostponeRequest> auto& v) { return std::tie(v.ids, v.when); }
constexpr auto fieldsOf(Is<SeenAnswer> auto& v) { return std::tie(v.reminders); }
constexpr auto fieldsOf(Is<SeenRequest> auto& v) { return std::tie(v.ids); }
constexpr auto fieldsOf(Is<DeleteRequest> auto& v) { return std::tie(v.ids); }
constexpr auto fieldsOf(Is<StatsRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<ClearAnswer> auto& v) { return std::tie(v.removed, v.unsentTitles); }
constexpr auto fieldsOf(Is<ClearRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<PresetsRequest> auto& v) { return std::tie(v.from); }
constexpr auto fieldsOf(Is<ActionsRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<OptionsRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<OptionAssignment> auto& v) { return std::tie(v.key, v.value); }
constexpr auto fieldsOf(Is<SetOptionRequest> auto& v) { return std::tie(v.assignment); }
constexpr auto fieldsOf(Is<ResetOptionsRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<ExportRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<ImportAnswer> auto& v) { return std::tie(v.imported, v.leftOut); }
constexpr auto fieldsOf(Is<TransferPlace> auto& v) { return std::tie(v.entry, v.line); }
constexpr auto fieldsOf(Is<TransferStanding> auto& v) { return std::tie(v.list, v.pending, v.deleted); }
constexpr auto fieldsOf(Is<TransferEntry> auto& v) {
    return std::tie(v.id, v.title, v.shown, v.condition, v.completed, v.standing, v.place);
}
constexpr auto fieldsOf(Is<ImportRequest> auto& v) { return std::tie(v.entries); }
constexpr auto fieldsOf(Is<CloudView> auto& v) {
    return std::tie(v.connected, v.url, v.container, v.zone, v.unsent, v.lastUpload, v.lastDownload, v.lastError);
}
constexpr auto fieldsOf(Is<CloudConnected> auto& v) { return std::tie(v.url, v.container); }
constexpr auto fieldsOf(Is<CloudConnectRequest> auto& v) {
    return std::tie(v.url, v.container, v.environment, v.apiToken, v.webToken, v.patience);
}
constexpr auto fieldsOf(Is<CloudStatusRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<CloudDisconnected> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<CloudDisconnectRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<SyncAnswer> auto& v) { return std::tie(v.uploaded, v.received, v.deleted); }
constexpr auto fieldsOf(Is<SyncRequest> auto& v) { return std::tie(v.patience); }
constexpr auto fieldsOf(Is<DaemonHealth> auto& v) { return std::tie(v.version, v.notifications, v.problems); }
constexpr auto fieldsOf(Is<HealthView> auto& v) { return std::tie(v.next, v.cloud, v.daemon); }
constexpr auto fieldsOf(Is<StatusRequest> auto&) { return std::tie(); }
constexpr auto fieldsOf(Is<ReminderView> auto& v) {
    return std::tie(v.id, v.title, v.shown, v.condition, v.list, v.pending, v.deleted);
}
constexpr auto fieldsOf(Is<quendokit::ReminderStats> auto& v) { return std::tie(v.pending, v.passed); }
constexpr auto fieldsOf(Is<PresetView> auto& v) { return std::tie(v.name, v.type, v.condition); }
constexpr auto fieldsOf(Is<PresetsView> auto& v) { return std::tie(v.now, v.from, v.category, v.presets, v.inShort); }
constexpr auto fieldsOf(Is<ActionView> auto& v) { return std::tie(v.action, v.title, v.presetName, v.presetType); }
constexpr auto fieldsOf(Is<OptionsView> auto& v) {
    return std::tie(v.firstWorkday, v.firstWeekend, v.workdayMorning, v.weekendMorning, v.afternoon, v.evening,
                    v.later, v.postpone, v.hasMacApp, v.workdays, v.weekend, v.thisMorning, v.tomorrowMorning,
                    v.nextMorning);
}
constexpr auto fieldsOf(Is<Failure> auto& v) { return std::tie(v.code, v.line); }
constexpr auto fieldsOf(Is<RequestAnswer> auto& v) { return std::tie(v.warnings, v.result); }
// clang-format on

/// How many values an enumeration has, which count from 0.
template <typename Enumeration>
inline constexpr int countOf = 0;
template <>
inline constexpr int countOf<quendokit::ReminderList> = 3;
template <>
inline constexpr int countOf<quendokit::PresetType> = static_cast<int>(quendokit::PresetType::mac) + 1;
template <>
inline constexpr int countOf<quendokit::NotificationAction::Case> = quendokit::NotificationAction::Evening + 1;
template <>
inline constexpr int countOf<quendokit::NotificationCategory::Case> = quendokit::NotificationCategory::Evening + 1;
template <>
inline constexpr int countOf<OptionKey> = static_cast<int>(OptionKey::hasMacApp) + 1;
template <>
inline constexpr int countOf<ExitCode> = static_cast<int>(ExitCode::cloud) + 1;

}  // namespace quendo
