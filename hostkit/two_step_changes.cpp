#include "hostkit/two_step_changes.hpp"

#include <utility>

#include "hostkit/intent_journal.hpp"
#include "hostkit/intent_json_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/uuid.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {
namespace {

using Internal = ReminderControllerInternal;

Error errorOf(TwoStepChanges::ErrorCode code) {
    const bool half = code == TwoStepChanges::ErrorCode::halfDone;
    return {TwoStepChanges::errorDomain, static_cast<int>(code),
            half ? "the change is half done; it is finished before the next one" : "nothing was changed"};
}

}  // namespace

TwoStepChanges::TwoStepChanges(std::shared_ptr<ReminderController> controller, std::shared_ptr<IntentJournal> journal)
    : controller_(std::move(controller)),
      journal_(std::move(journal)),
      unfinished_(journal_ ? journal_->leftovers() : std::vector<std::string>()),
      isNoted_(!unfinished_.empty()) {}

std::optional<Error> TwoStepChanges::finishLeftovers() {
    if (!isNoted_) {
        return std::nullopt;
    }
    for (const std::string& line : unfinished_) {
        // A line of another version is none that this one may act on.
        if (const auto intent = Intent::fromLine(line)) {
            if (auto error = perform(*intent)) {
                return error;
            }
        }
    }
    unfinished_.clear();
    return settle();
}

std::optional<Error> TwoStepChanges::edit(const ReminderStruct& reminder) {
    if (!reminder.id()) {
        fatalError("only a stored reminder can be edited");
    }
    return begin({reminder, std::nullopt});
}

Result<std::string> TwoStepChanges::replace(const std::string& old, const ReminderStruct& successor) {
    // The id is chosen here, so that finishing the change later stores the same reminder and no second one.
    const std::string id = makeUUID();
    if (auto error = begin({ReminderStruct(id, successor.title(), successor.shown(), successor.condition()), old})) {
        return *std::move(error);
    }
    return id;
}

std::optional<Error> TwoStepChanges::begin(const Intent& intent) {
    if (!journal_) {
        return perform(intent);
    }
    if (auto error = finishLeftovers()) {
        return error;
    }
    const std::string line = intent.line();
    isNoted_ = true;
    if (auto error = journal_->note(line)) {
        return error;
    }
    auto error = perform(intent);
    if (error && error->code == static_cast<int>(ErrorCode::halfDone)) {
        unfinished_.push_back(line);
        return error;
    }
    // What did not happen at all is not to happen later either: the person was told that it failed.
    auto unsettled = settle();
    return error ? error : unsettled;
}

std::optional<Error> TwoStepChanges::settle() {
    auto error = journal_->settle();
    isNoted_ = error.has_value();
    return error;
}

std::optional<Error> TwoStepChanges::perform(const Intent& intent) {
    if (auto error = storeAsChanged(intent.reminder)) {
        return error;
    }
    if (!intent.deleted) {
        return std::nullopt;
    }
    const auto old = Internal::reminderItem(*controller_, *intent.deleted);
    if (!old || old->deleted) {
        return std::nullopt;
    }
    if (const auto reminder = makeReminderStruct(*old)) {
        controller_->delete_(*reminder);
    }
    const auto left = Internal::reminderItem(*controller_, *intent.deleted);
    return left && !left->deleted ? std::optional(errorOf(ErrorCode::halfDone)) : std::nullopt;
}

std::optional<Error> TwoStepChanges::storeAsChanged(const ReminderStruct& reminder) {
    const auto existing = Internal::reminderItem(*controller_, *reminder.id());
    if (existing && existing->deleted) {
        return std::nullopt;
    }
    controller_->store(reminder);
    // The engine reports no failed writes: what is stored tells.
    const auto stored = controller_->reminder(*reminder.id());
    if (!stored || stored->title() != reminder.title() || stored->shown() != reminder.shown() ||
        stored->condition() != reminder.condition()) {
        return errorOf(ErrorCode::notDone);
    }
    controller_->postpone(*stored, reminder.condition());
    const auto changed = Internal::reminderItem(*controller_, *reminder.id());
    return changed && !changed->pending ? std::optional(errorOf(ErrorCode::halfDone)) : std::nullopt;
}

}  // namespace quendokit
