#pragma once
/// \file
/// `TwoStepChanges`, what a host does with a reminder that takes the engine two steps.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class IntentJournal;
class ReminderController;

/// Makes such a change whole: each of its steps is a write of its own, and what a crash or a failed write leaves
/// between them is finished before the next change.
///
/// Shares controller and journal. Without a journal (null) the same steps are done unprotected. Main thread only. The
/// errors' domain is "TwoStepChanges", or the journal's; the database tells its own in its own way.
class QUENDOKIT_EXPORT TwoStepChanges {
public:
    enum class ErrorCode {
        /// The first step failed: nothing changed.
        notDone = 1,
        /// A later step failed: `finishLeftovers()` finishes it, after a restart too, if there is a journal.
        halfDone = 2,
    };
    static constexpr const char* errorDomain = "TwoStepChanges";

    TwoStepChanges(std::shared_ptr<ReminderController> controller, std::shared_ptr<IntentJournal> journal);

    /// Finishes what an earlier process, or a failed write of this one, left half done. Call it before every other
    /// change of reminders, and leave that change when this fails: finished later, the old one would undo it. Touches
    /// no disk when nothing is left.
    [[nodiscard]] std::optional<Error> finishLeftovers();

    /// Gives the stored reminder of the same id this title, `shown` and condition, so that the change travels to the
    /// person's other devices: storing a reminder that has an id does not count as a change, postponing it to its own
    /// condition does. A deleted reminder stays as it is. Fatal if there is no id.
    [[nodiscard]] std::optional<Error> edit(const ReminderStruct& reminder);

    /// Stores `successor`, whose id is ignored, as a new reminder, then deletes the stored one with the id `old`.
    /// Answers the new id.
    ///
    /// For a shown reminder that is to wait for the Mac: postponed, it would count as passed and never be presented.
    [[nodiscard]] Result<std::string> replace(const std::string& old, const ReminderStruct& successor);

private:
    struct Intent;

    [[nodiscard]] std::optional<Error> begin(const Intent& intent);
    [[nodiscard]] std::optional<Error> perform(const Intent& intent);
    [[nodiscard]] std::optional<Error> settle();
    /// Stores `reminder` under its id and makes it count as changed.
    [[nodiscard]] std::optional<Error> storeAsChanged(const ReminderStruct& reminder);

    const std::shared_ptr<ReminderController> controller_;
    const std::shared_ptr<IntentJournal> journal_;
    /// The lines that are still to be finished.
    std::vector<std::string> unfinished_;
    /// Whether the journal may hold anything.
    bool isNoted_;
};

}  // namespace quendokit
