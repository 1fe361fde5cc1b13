/// \file
/// Whole lives of a controller, made at random, beside a plain model: every effect, every answer, everything stored.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/recording_delegate.hpp"
#include "testing/recording_line_sink.hpp"
#include "tests/store/plain_store_model.hpp"
#include "tests/store/store_steps.hpp"
#include "tests/support/property.hpp"
#include "tests/support/reminder_items.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tests/support/tracing_realm.hpp"

namespace quendokit::testing {
namespace {

using Internal = ReminderControllerInternal;
using Lines = std::vector<std::string>;

/// Tells the trace everything about the reminders it is given.
class TellingScheduler final : public Scheduler {
public:
    explicit TellingScheduler(std::shared_ptr<Trace> trace) : trace_(std::move(trace)) {}

    void schedule(const ReminderStruct& reminder) override { trace_->add("schedule " + text(reminder)); }
    void cancel(const ReminderStruct& reminder) override { trace_->add("cancel " + text(reminder)); }

private:
    const std::shared_ptr<Trace> trace_;
};

/// The controller with recorders around it, taking the same steps as the model.
class TracedController {
public:
    TracedController(const StoreSequence& sequence, std::shared_ptr<Realm> emptyDatabase)
        : database_(std::move(emptyDatabase)), clock_(std::make_shared<ManualClock>(Date(sequence.start))) {
        const auto scheduler = sequence.hasScheduler ? std::make_shared<TellingScheduler>(trace_) : nullptr;
        delegate_ = sequence.hasDelegate ? std::make_shared<RecordingDelegate>(trace_) : nullptr;
        if (delegate_) {
            delegate_->onRemove([this] {
                if (const auto meddle = std::exchange(atRemoval_, std::nullopt)) {
                    act(*meddle);
                }
            });
        }
        controller_ = ReminderController::create(scheduler, realm_, delegate_);
    }

    [[nodiscard]] Lines take(const Step& step) {
        trace_->clear();
        std::visit([this](const auto& each) { act(each); }, step);
        return trace_->lines();
    }

    [[nodiscard]] Lines stored() const {
        Lines lines;
        database_->objects<ReminderItem>().sorted("ID", true).forEach([&](const ReminderItem& item) {
            lines.push_back(text(item));
            return true;
        });
        return lines;
    }

private:
    void act(const steps::Store& step) { controller_->store(made(step.reminder)); }
    void act(const steps::StoreMany& step) { controller_->store(made(step.reminders)); }
    void act(const steps::Postpone& step) { controller_->postpone(made(step.reminder), condition(step.date)); }
    void act(const steps::Delete& step) { controller_->delete_(made(step.reminder)); }
    void act(const steps::MarkUnseenAsSeen&) { controller_->markSeen(); }
    void act(const steps::MarkSeen& step) { controller_->markSeen(made(step.reminders)); }
    void act(const steps::Clear&) { controller_->clearRealm(); }
    void act(const steps::SoftDelete& step) { Internal::softDelete(*controller_, made(step.record)); }
    void act(const steps::HardDelete& step) { Internal::hardDelete(*controller_, made(step.record)); }
    void act(const steps::Arrive& step) { controller_->storeReminder(made(step.reminder)); }
    void act(const steps::ArriveDeletion& step) { controller_->deleteReminder(step.id); }
    void act(const steps::Confirm& step) { controller_->didSyncReminders(step.ids); }
    void act(const steps::RunQueue& step) {
        if (step.all) {
            mainQueue_->runAll();
        } else {
            mainQueue_->runNext();
        }
    }

    void act(const steps::Reminders& step) { answer(controller_->reminders(step.includingDeleted)); }
    void act(const steps::Lists& step) {
        const ReminderItems items = Internal::reminderItems(*controller_, step.includingDeleted);
        trace_->add("= mac");
        answer(items.macReminders);
        trace_->add("= upcoming");
        answer(items.upcomingReminders);
        trace_->add("= remaining");
        answer(items.remainingReminders);
    }
    void act(const steps::Find& step) { answerOne(controller_->reminder(step.id)); }
    void act(const steps::FindRecord& step) { answerOne(Internal::reminderItem(*controller_, step.id)); }
    void act(const steps::HasReminders&) { trace_->add(controller_->hasReminders() ? "= yes" : "= no"); }
    void act(const steps::Stats& step) {
        const ReminderStats stats = controller_->reminderStats(step.includingDeleted);
        trace_->add("= " + std::to_string(stats.pending) + " pending, " + std::to_string(stats.passed) + " passed");
    }
    void act(const steps::Unseen&) { answer(Internal::unseenReminders(*controller_)); }
    void act(const steps::ToUpload&) { answer(controller_->remindersToUpload().value()); }
    void act(const steps::ToDelete&) { answer(controller_->remindersToDelete().value()); }

    void act(const steps::Meddle& step) {
        const ReminderItem item = made(step.record);
        const auto failure =
            database_->write([&] { step.remove ? database_->delete_(item) : database_->add(item, true); });
        EXPECT_FALSE(failure) << failure->description;
    }
    void act(const steps::MeddleAtRemoval& step) { atRemoval_ = step.meddle; }
    void act(const steps::FailNextWrite& step) { realm_->failNextWrite(step.at); }
    void act(const steps::SetClock& step) { clock_->set(Date(step.now)); }

    static ReminderCondition condition(std::optional<double> date) {
        return date ? ReminderCondition::dateTime(Date(*date)) : ReminderCondition::device(DeviceType::mac);
    }
    static ReminderStruct made(const PlainReminder& reminder) {
        return {reminder.id, reminder.title, reminder.shown, condition(reminder.date)};
    }
    static std::vector<ReminderStruct> made(const std::vector<PlainReminder>& reminders) {
        std::vector<ReminderStruct> all;
        for (const PlainReminder& reminder : reminders) {
            all.push_back(made(reminder));
        }
        return all;
    }
    static ReminderItem made(const PlainRecord& record) {
        ReminderItem item = deviceItem(record.ID, record.device, record.shown);
        item.title = record.title;
        item.deleted = record.deleted;
        item.completionDate = Date(record.completionDate);
        item.pending = record.pending;
        item._datetime = Date(record.datetime);
        return item;
    }

    template <typename Value>
    void answer(const std::vector<Value>& values) {
        for (const Value& value : values) {
            trace_->add("= " + text(value));
        }
    }
    template <typename Value>
    void answerOne(const std::optional<Value>& value) {
        trace_->add(value ? "= " + text(*value) : "= none");
    }

    platform::Services services() {
        platform::Services services;
        services.clock = clock_;
        services.mainQueue = mainQueue_;
        services.standardOutput = std::make_shared<RecordingLineSink>(trace_);
        services.uuidSource = [count = 0]() mutable { return "fresh-" + std::to_string(++count); };
        return services;
    }

    const std::shared_ptr<Realm> database_;
    const std::shared_ptr<ManualClock> clock_;
    const std::shared_ptr<Trace> trace_ = std::make_shared<Trace>();
    const std::shared_ptr<ManualDispatchQueue> mainQueue_ = std::make_shared<ManualDispatchQueue>();
    const platform::ScopedInstall installed_{services()};
    const std::shared_ptr<TracingRealm> realm_ = std::make_shared<TracingRealm>(database_, trace_);
    std::optional<steps::Meddle> atRemoval_;
    std::shared_ptr<RecordingDelegate> delegate_;
    std::shared_ptr<ReminderController> controller_;
};

std::string joined(const Lines& lines) {
    std::string all;
    for (const std::string& line : lines) {
        all += "  " + line + "\n";
    }
    return all.empty() ? "  nothing\n" : all;
}

/// `lines`, with the records in order when the step goes through them in no particular one.
Lines inOrder(Lines lines, const Step& step) {
    if (std::holds_alternative<steps::MarkUnseenAsSeen>(step) || std::holds_alternative<steps::Unseen>(step)) {
        const auto isRecord = [](const std::string& line) {
            return line.starts_with("add ") || line.starts_with("= ");
        };
        const auto begin = std::find_if(lines.begin(), lines.end(), isRecord);
        std::sort(begin, std::find_if_not(begin, lines.end(), isRecord));
    }
    return lines;
}

/// How the controller first departs from the model; absent when it never does.
std::optional<std::string> difference(const StoreSequence& sequence, const std::shared_ptr<Realm>& database) {
    if (const auto failure = database->write([&] { database->deleteAll(); })) {
        return failure->description;
    }
    PlainStoreModel model(sequence);
    TracedController controller(sequence, database);
    for (const Step& step : sequence.steps) {
        const Lines expected = inOrder(model.take(step), step);
        const Lines said = inOrder(controller.take(step), step);
        if (said != expected) {
            return text(step) + "\nhad to say\n" + joined(expected) + "and said\n" + joined(said);
        }
        if (std::find(said.begin(), said.end(), "begin") == said.end()) {
            // Nothing was written.
            continue;
        }
        const Lines stored = controller.stored();
        if (stored != model.stored()) {
            return text(step) + "\nhad to leave\n" + joined(model.stored()) + "and left\n" + joined(stored);
        }
    }
    return std::nullopt;
}

/// The same departure with every step left out that it does not need.
StoreSequence shortened(StoreSequence sequence, const std::shared_ptr<Realm>& database) {
    for (std::size_t i = sequence.steps.size(); i-- > 0;) {
        StoreSequence shorter = sequence;
        shorter.steps.erase(shorter.steps.begin() + static_cast<std::ptrdiff_t>(i));
        if (difference(shorter, database)) {
            sequence = std::move(shorter);
        }
    }
    return sequence;
}

constexpr int parts = 4;
constexpr std::uint64_t sequencesInPart = 2'500;

/// Both databases, made once and emptied for every sequence. A file in memory spares the disk, which is not the matter.
class ControllerModel : public ::testing::TestWithParam<int> {
protected:
    ControllerModel() {
        platform::Services services;
        services.clock = std::make_shared<ManualClock>();
        const platform::ScopedInstall installed(services);
        auto configuration = QuendoKitConfig();
        databases_.emplace_back("InMemory", InMemoryRealm::create(configuration));
        configuration.fileURL = folder_.path() / "reminders.sqlite";
        databases_.emplace_back("SQLite", SQLiteRealmProvider(SQLiteRealmOptions()).open(configuration).value());
    }

    static std::filesystem::path fastFolder() {
        const std::filesystem::path inMemory = "/dev/shm";
        return std::filesystem::is_directory(inMemory) ? inMemory : std::filesystem::temp_directory_path();
    }

    const TemporaryFolder folder_{fastFolder()};
    std::vector<std::pair<std::string, std::shared_ptr<Realm>>> databases_;
};

TEST_P(ControllerModel, EveryStepDoesWhatThePlainModelDoes) {
    const std::uint64_t seed = propertySeed();
    for (std::uint64_t number = 0; number < sequencesInPart; ++number) {
        const std::uint64_t part = static_cast<std::uint64_t>(GetParam());
        const StoreSequence sequence = randomSequence(seed + part * sequencesInPart + number);
        for (const auto& [name, database] : databases_) {
            if (!difference(sequence, database)) {
                continue;
            }
            const StoreSequence shorter = shortened(sequence, database);
            FAIL() << "RC_PARAMS=\"seed=" << seed << "\", sequence " << number << " on " << name << "\n"
                   << text(shorter) << "\n"
                   << difference(shorter, database).value();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Parts, ControllerModel, ::testing::Range(0, parts));

}  // namespace
}  // namespace quendokit::testing
