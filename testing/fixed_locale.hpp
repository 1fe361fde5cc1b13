#pragma once
/// \file
/// `FixedLocale`, a `Locale` whose words a test chooses.

#include <string>
#include <utility>
#include <vector>

#include "quendokit/platform/locale.hpp"

namespace quendokit::testing {

/// Any thread.
class FixedLocale final : public Locale {
public:
    /// English.
    FixedLocale() = default;

    /// `weekdays` as they are, Sunday first. Less than seven are no language, and good for testing who notices.
    explicit FixedLocale(std::vector<std::string> weekdays) : weekdays_(std::move(weekdays)) {}

    [[nodiscard]] std::vector<std::string> standaloneWeekdaySymbols() const override { return weekdays_; }

private:
    const std::vector<std::string> weekdays_{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                             "Thursday", "Friday", "Saturday"};
};

}  // namespace quendokit::testing
