#include "tests/store/store_steps.hpp"

#include <array>
#include <cstdio>
#include <limits>

namespace quendokit::testing {
namespace {

constexpr double noon = 1'795'262'400.25;

std::string text(double date) {
    std::array<char, 40> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.17g", date);
    return buffer.data();
}

std::string text(const std::vector<PlainReminder>& reminders) {
    std::string all;
    for (const PlainReminder& reminder : reminders) {
        all += " [" + text(reminder) + "]";
    }
    return all.empty() ? " nothing" : all;
}

struct Describe {
    using Text = std::string;

    Text operator()(const steps::Store& step) const { return "store " + text(step.reminder); }
    Text operator()(const steps::StoreMany& step) const { return "store many" + text(step.reminders); }
    Text operator()(const steps::Postpone& step) const {
        return "postpone to " + (step.date ? text(*step.date) : "the Mac") + " " + text(step.reminder);
    }
    Text operator()(const steps::Delete& step) const { return "delete " + text(step.reminder); }
    Text operator()(const steps::MarkUnseenAsSeen&) const { return "mark the unseen ones as seen"; }
    Text operator()(const steps::MarkSeen& step) const { return "mark as seen" + text(step.reminders); }
    Text operator()(const steps::Clear&) const { return "clear"; }
    Text operator()(const steps::SoftDelete& step) const { return "soft-delete " + text(step.record); }
    Text operator()(const steps::HardDelete& step) const { return "hard-delete " + text(step.record); }
    Text operator()(const steps::Arrive& step) const { return "arrives " + text(step.reminder); }
    Text operator()(const steps::ArriveDeletion& step) const { return "arrives the deletion of " + step.id; }
    Text operator()(const steps::Confirm& step) const {
        Text line = "confirmed";
        for (const Text& id : step.ids) {
            line += " [" + id + "]";
        }
        return line;
    }
    Text operator()(const steps::RunQueue& step) const { return step.all ? "run the queue" : "run one task"; }
    Text operator()(const steps::Reminders& step) const { return asked("reminders?", step.includingDeleted); }
    Text operator()(const steps::Lists& step) const { return asked("lists?", step.includingDeleted); }
    Text operator()(const steps::Find& step) const { return "reminder? " + step.id; }
    Text operator()(const steps::FindRecord& step) const { return "record? " + step.id; }
    Text operator()(const steps::HasReminders&) const { return "any?"; }
    Text operator()(const steps::Stats& step) const { return asked("how many?", step.includingDeleted); }
    Text operator()(const steps::Unseen&) const { return "unseen?"; }
    Text operator()(const steps::ToUpload&) const { return "to upload?"; }
    Text operator()(const steps::ToDelete&) const { return "to delete?"; }
    Text operator()(const steps::Meddle& step) const {
        return step.remove ? "take away " + step.record.ID : "put " + text(step.record);
    }
    Text operator()(const steps::MeddleAtRemoval& step) const { return "at the next removal " + (*this)(step.meddle); }
    Text operator()(const steps::FailNextWrite& step) const {
        return step.at == FailAt::begin ? "the next write cannot begin" : "the next write cannot commit";
    }
    Text operator()(const steps::SetClock& step) const { return "it is " + text(step.now); }

private:
    static Text asked(const char* what, bool includingDeleted) {
        return Text(what) + (includingDeleted ? " with deleted ones" : "");
    }
};

/// Makes the parts of a sequence from one source of chance.
class Maker {
public:
    explicit Maker(std::uint64_t seed) : random_(seed) {}

    StoreSequence sequence() {
        StoreSequence sequence{.hasScheduler = !oneIn(20), .hasDelegate = !oneIn(20), .start = instant(), .steps = {}};
        for (std::size_t records = below(6); records > 0; --records) {
            sequence.steps.emplace_back(steps::Meddle{record(), false});
        }
        for (std::size_t left = oneIn(100) ? 200 : 1 + below(16); left > 0; --left) {
            sequence.steps.push_back(step());
        }
        return sequence;
    }

private:
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    bool eitherWay() { return oneIn(2); }

    template <typename Value, std::size_t Count>
    const Value& oneOf(const std::array<Value, Count>& values) {
        return values[below(Count)];
    }

    std::string id() {
        static const std::array<std::string, 7> ids = {"a", "b", "c", "d", "fresh-1", "fresh-2", ""};
        return oneOf(ids);
    }

    std::string title() {
        static const std::array<std::string, 5> titles = {"", "Milk", "Zoo", "milk", "Äpfel"};
        return oneOf(titles);
    }

    /// Where the clock can stand and most dates lie.
    double instant() {
        static constexpr std::array odd = {0.0, -30.0};
        return oneIn(25) ? oneOf(odd) : noon + 30.0 * static_cast<double>(below(7));
    }

    double storableDate() { return oneIn(10) ? 0 : instant(); }

    double date() {
        static constexpr std::array unstorable = {std::numeric_limits<double>::quiet_NaN(),
                                                  std::numeric_limits<double>::infinity(),
                                                  -std::numeric_limits<double>::infinity()};
        return oneIn(30) ? oneOf(unstorable) : storableDate();
    }

    std::optional<double> condition() { return oneIn(3) ? std::nullopt : std::optional(date()); }

    PlainReminder reminder() {
        const auto itsId = oneIn(4) ? std::nullopt : std::optional(id());
        return {itsId, title(), oneIn(3), condition()};
    }

    std::vector<PlainReminder> reminders() {
        std::vector<PlainReminder> all(below(4));
        for (PlainReminder& each : all) {
            each = reminder();
        }
        return all;
    }

    std::vector<std::string> ids() {
        std::vector<std::string> all(below(5));
        for (std::string& each : all) {
            each = id();
        }
        return all;
    }

    PlainRecord record() {
        static constexpr std::array<std::int64_t, 10> devices = {-1, -1, -1, -1, 1, 1, 1, 2, 0, -2};
        const std::int64_t device = oneOf(devices);
        const double itsDate = device == -1 || oneIn(6) ? storableDate() : 0;
        return {.ID = id(),
                .title = title(),
                .deleted = oneIn(4),
                .shown = oneIn(3),
                .completionDate = storableDate(),
                .pending = eitherWay(),
                .device = device,
                .datetime = itsDate};
    }

    steps::Meddle meddle() { return {record(), oneIn(3)}; }
    FailAt failure() { return eitherWay() ? FailAt::begin : FailAt::commit; }

    Step change() {
        switch (below(14)) {
            case 0:
            case 1:
                return steps::Store{reminder()};
            case 2:
                return steps::StoreMany{reminders()};
            case 3:
            case 4:
                return steps::Postpone{reminder(), condition()};
            case 5:
                return steps::Delete{reminder()};
            case 6:
                return steps::MarkUnseenAsSeen{};
            case 7:
                return steps::MarkSeen{reminders()};
            case 8:
                return steps::SoftDelete{record()};
            case 9:
                return steps::HardDelete{record()};
            case 10:
                return steps::Arrive{reminder()};
            case 11:
                return steps::ArriveDeletion{id()};
            case 12:
                return steps::Confirm{ids()};
            default:
                return oneIn(4) ? Step(steps::Clear{}) : Step(steps::Postpone{reminder(), condition()});
        }
    }

    Step question() {
        switch (below(9)) {
            case 0:
                return steps::Reminders{eitherWay()};
            case 1:
                return steps::Lists{eitherWay()};
            case 2:
                return steps::Find{id()};
            case 3:
                return steps::FindRecord{id()};
            case 4:
                return steps::HasReminders{};
            case 5:
                return steps::Stats{eitherWay()};
            case 6:
                return steps::Unseen{};
            case 7:
                return steps::ToUpload{};
            default:
                return steps::ToDelete{};
        }
    }

    Step surroundings() {
        switch (below(6)) {
            case 0:
                return meddle();
            case 1:
                return steps::MeddleAtRemoval{meddle()};
            case 2:
                return steps::FailNextWrite{failure()};
            case 3:
                return steps::SetClock{instant()};
            default:
                return steps::RunQueue{!oneIn(3)};
        }
    }

    Step step() {
        switch (below(4)) {
            case 0:
                return surroundings();
            case 1:
                return question();
            default:
                return change();
        }
    }

    std::mt19937_64 random_;
};

}  // namespace

std::string text(const PlainReminder& reminder) {
    return reminder.id.value_or("(no id)") + ": \"" + reminder.title + "\"" + (reminder.shown ? " shown" : "") +
           (reminder.date ? " at " + text(*reminder.date) : " at the Mac");
}

std::string text(const PlainRecord& record) {
    return record.ID + ": \"" + record.title + "\"" + (record.deleted ? " deleted" : "") +
           (record.shown ? " shown" : "") + (record.pending ? " pending" : "") + ", device " +
           std::to_string(record.device) + ", datetime " + text(record.datetime) + ", completed " +
           text(record.completionDate);
}

std::string text(const Step& step) {
    return std::visit(Describe(), step);
}

std::string text(const StoreSequence& sequence) {
    std::string all = text(Step(steps::SetClock{sequence.start})) +
                      (sequence.hasScheduler ? "" : ", without scheduler") +
                      (sequence.hasDelegate ? "" : ", without delegate") + "\n";
    for (const Step& step : sequence.steps) {
        all += text(step) + "\n";
    }
    return all;
}

StoreSequence randomSequence(std::uint64_t seed) {
    return Maker(seed).sequence();
}

}  // namespace quendokit::testing
