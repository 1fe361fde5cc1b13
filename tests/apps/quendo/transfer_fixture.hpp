#pragma once
/// \file
/// What tests of files with reminders share.

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "apps/quendo/transfer/transfer_document.hpp"

namespace quendo {

/// Exact, where conditions are tolerant. Where an entry stood and how it stands on a device does not count.
inline bool operator==(const TransferEntry& a, const TransferEntry& b) {
    return a.id == b.id && a.title == b.title && a.shown == b.shown && a.condition.date() == b.condition.date() &&
           a.condition.deviceType() == b.condition.deviceType() && a.completed == b.completed;
}

inline void PrintTo(const TransferEntry& entry, std::ostream* out) {
    const auto seconds = [](std::optional<quendokit::Date> date) {
        return date ? std::to_string(date->timeIntervalSince1970()) : std::string("none");
    };
    *out << entry.id.value_or("no id") << " [" << entry.title << "] shown " << entry.shown << " date "
         << seconds(entry.condition.date()) << " completed " << seconds(entry.completed);
}

inline constexpr quendokit::Date at6pm(1'795'302'000);  // 2026-11-21 18:00 in New York, 23:00 UTC

inline quendokit::ReminderCondition dated(double seconds) {
    return quendokit::ReminderCondition::dateTime(quendokit::Date(seconds));
}

inline quendokit::ReminderCondition atTheMac() {
    return quendokit::ReminderCondition::device(quendokit::DeviceType::mac);
}

/// A person in New York.
class Transferring : public ::testing::Test {
protected:
    std::shared_ptr<const quendokit::LocalTimeZone> zone = quendokit::LocalTimeZone::make("America/New_York");
    TransferReading reading{"reminders", *zone};
    TransferWriting writing{*zone, at6pm};

    /// What `text` holds; refuses the test when it is refused.
    [[nodiscard]] TransferDocument document(std::string_view text) const {
        auto outcome = readTransfer(text, reading);
        if (!outcome) {
            ADD_FAILURE() << outcome.failure().line;
            return {};
        }
        return std::move(outcome).value();
    }

    [[nodiscard]] std::vector<TransferEntry> entries(std::string_view text) const { return document(text).entries; }

    /// The line with which `text` is refused.
    [[nodiscard]] std::string refusal(std::string_view text) const {
        auto outcome = readTransfer(text, reading);
        if (outcome) {
            return "accepted with " + std::to_string(outcome.value().entries.size()) + " entries";
        }
        EXPECT_EQ(outcome.failure().code, ExitCode::usage);
        EXPECT_EQ(outcome.failure().line.find('\n'), std::string::npos) << outcome.failure().line;
        return outcome.failure().line;
    }

    [[nodiscard]] std::vector<TransferEntry> afterRoundTrip(const std::vector<TransferEntry>& written,
                                                            TransferFormat format) const {
        return entries(writeTransfer(written, format, writing));
    }
};

}  // namespace quendo
