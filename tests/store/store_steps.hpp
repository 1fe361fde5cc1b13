#pragma once
/// \file
/// What can happen to a store of reminders, as plain values, and random sequences of it.

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "testing/fail_at.hpp"

namespace quendokit::testing {

/// A reminder as a host passes it; one without a date waits at the Mac.
struct PlainReminder {
    std::optional<std::string> id;
    std::string title;
    bool shown = false;
    std::optional<double> date;
};

/// A stored record, field by field.
struct PlainRecord {
    std::string ID;
    std::string title;
    bool deleted = false;
    bool shown = false;
    double completionDate = 0;
    bool pending = false;
    std::int64_t device = -1;
    double datetime = 0;
};

/// As `text` writes the controller's own values.
[[nodiscard]] std::string text(const PlainReminder& reminder);
[[nodiscard]] std::string text(const PlainRecord& record);

namespace steps {

// What the host does.
struct Store {
    PlainReminder reminder;
};
struct StoreMany {
    std::vector<PlainReminder> reminders;
};
struct Postpone {
    PlainReminder reminder;
    /// Absent: to the Mac.
    std::optional<double> date;
};
struct Delete {
    PlainReminder reminder;
};
struct MarkUnseenAsSeen {};
struct MarkSeen {
    std::vector<PlainReminder> reminders;
};
struct Clear {};
struct SoftDelete {
    PlainRecord record;
};
struct HardDelete {
    PlainRecord record;
};

// What comes from the cloud, and the turns of the main queue that take it in.
struct Arrive {
    PlainReminder reminder;
};
struct ArriveDeletion {
    std::string id;
};
struct Confirm {
    std::vector<std::string> ids;
};
struct RunQueue {
    bool all;
};

// What only asks.
struct Reminders {
    bool includingDeleted;
};
struct Lists {
    bool includingDeleted;
};
struct Find {
    std::string id;
};
struct FindRecord {
    std::string id;
};
struct HasReminders {};
struct Stats {
    bool includingDeleted;
};
struct Unseen {};
struct ToUpload {};
struct ToDelete {};

// What happens around the controller.
/// A record is written or removed behind its back.
struct Meddle {
    PlainRecord record;
    bool remove;
};
/// The same, when the delegate is next told of a removal.
struct MeddleAtRemoval {
    Meddle meddle;
};
struct FailNextWrite {
    FailAt at;
};
struct SetClock {
    double now;
};

}  // namespace steps

using Step =
    std::variant<steps::Store, steps::StoreMany, steps::Postpone, steps::Delete, steps::MarkUnseenAsSeen,
                 steps::MarkSeen, steps::Clear, steps::SoftDelete, steps::HardDelete, steps::Arrive,
                 steps::ArriveDeletion, steps::Confirm, steps::RunQueue, steps::Reminders, steps::Lists, steps::Find,
                 steps::FindRecord, steps::HasReminders, steps::Stats, steps::Unseen, steps::ToUpload, steps::ToDelete,
                 steps::Meddle, steps::MeddleAtRemoval, steps::FailNextWrite, steps::SetClock>;

[[nodiscard]] std::string text(const Step& step);

/// The life of one controller over a database that is empty at first.
struct StoreSequence {
    bool hasScheduler = true;
    bool hasDelegate = true;
    double start = 0;
    std::vector<Step> steps;
};

[[nodiscard]] std::string text(const StoreSequence& sequence);

/// Few ids, titles and moments, so that they meet often: dates fall on the very instant of the clock, or to the epoch;
/// devices are unknown, flags contradict each other, texts are empty. Mostly short; one in a hundred is long.
[[nodiscard]] StoreSequence randomSequence(std::uint64_t seed);

}  // namespace quendokit::testing
