#pragma once
/// \file
/// What JSON answers and exported files have in common: moments, conditions and reminders as values of a document.

#include <nlohmann/json_fwd.hpp>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/date.hpp"

namespace quendo::json {

/// Members stay in the order in which they were written down.
using Json = nlohmann::ordered_json;

/// `value` without ".0" when it is whole and below 2^53.
[[nodiscard]] Json number(double value);

/// `{"date": "2026-11-21T18:00:00-05:00", "epoch": 1795302000}`; the date is null when its local year is not of four
/// digits.
[[nodiscard]] Json time(quendokit::Date date, const quendokit::LocalTimeZone& zone);

[[nodiscard]] Json condition(const quendokit::ReminderCondition& condition, const quendokit::LocalTimeZone& zone);

/// One reminder with all its members.
[[nodiscard]] Json object(const ReminderView& view, const quendokit::LocalTimeZone& zone);

}  // namespace quendo::json
