#pragma once
/// \file
/// `PlainStoreModel`: what a store of reminders has to do, as plainly as it can be said.

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/store/store_steps.hpp"

namespace quendokit::testing {

/// Records in one list, read from end to end for every question; a write works on them and puts a copy back when it
/// fails. Shares no line with the controller.
///
/// What it says is one list of lines: effects in their order, as `Trace` receives them from scheduler, delegate, output
/// and database; answers with "= " before them.
class PlainStoreModel {
public:
    explicit PlainStoreModel(const StoreSequence& sequence);

    /// Takes the step and answers what that says.
    [[nodiscard]] std::vector<std::string> take(const Step& step);

    /// Everything stored, ordered by id.
    [[nodiscard]] std::vector<std::string> stored() const;

private:
    using Records = std::vector<PlainRecord>;
    struct ThreeLists {
        Records mac;
        Records upcoming;
        Records remaining;
    };

    // Each kind of step.
    void act(const steps::Store& step) { store(step.reminder); }
    void act(const steps::StoreMany& step);
    void act(const steps::Postpone& step);
    void act(const steps::Delete& step);
    void act(const steps::MarkUnseenAsSeen& step);
    void act(const steps::MarkSeen& step);
    void act(const steps::Clear& step);
    void act(const steps::SoftDelete& step) { softDelete(step.record); }
    void act(const steps::HardDelete& step) { hardDelete(step.record); }
    void act(const steps::Arrive& step);
    void act(const steps::ArriveDeletion& step);
    void act(const steps::Confirm& step);
    void act(const steps::RunQueue& step);
    void act(const steps::Reminders& step);
    void act(const steps::Lists& step);
    void act(const steps::Find& step);
    void act(const steps::FindRecord& step);
    void act(const steps::HasReminders& step);
    void act(const steps::Stats& step);
    void act(const steps::Unseen& step);
    void act(const steps::ToUpload& step);
    void act(const steps::ToDelete& step);
    void act(const steps::Meddle& step);
    void act(const steps::MeddleAtRemoval& step) { atRemoval_ = step.meddle; }
    void act(const steps::FailNextWrite& step) { failure_ = step.at; }
    void act(const steps::SetClock& step) { now_ = step.now; }

    void store(const PlainReminder& reminder);
    void softDelete(const PlainRecord& record);
    void hardDelete(const PlainRecord& record);
    void markSeen(Records records);
    [[nodiscard]] Records unseen() const;

    /// The record that a reminder makes, under a fresh id when it has none.
    [[nodiscard]] PlainRecord recordOf(const PlainReminder& reminder);
    [[nodiscard]] Records recordsOf(const std::vector<PlainReminder>& reminders);
    /// The reminder that a record holds.
    [[nodiscard]] static std::optional<PlainReminder> reminderOf(const PlainRecord& record);

    [[nodiscard]] ThreeLists lists(bool includingDeleted) const;
    /// The three lists, one after the other.
    [[nodiscard]] Records listed(bool includingDeleted) const;
    [[nodiscard]] std::optional<PlainRecord> find(std::string_view id) const;
    [[nodiscard]] std::vector<PlainReminder> reminders(bool includingDeleted) const;

    /// Whether it succeeded.
    bool write(const std::function<void()>& changes);
    // Inside a write.
    void add(const PlainRecord& record);
    void remove(const PlainRecord& record);
    /// Changes the stored record, if there is one; `columns` are named in what is said.
    void change(const std::string& id, const char* columns, const std::function<void(PlainRecord&)>& how);

    [[nodiscard]] PlainRecord* stored(std::string_view id);
    void put(const PlainRecord& record);

    void schedule(const PlainRecord& record);
    void cancel(const PlainRecord& record);
    void schedule(const PlainReminder& reminder);
    void cancel(const PlainReminder& reminder);
    void tellAdded();
    void tellRemoved();
    void say(std::string line) { said_.push_back(std::move(line)); }
    void answer(const Records& records);

    const bool hasScheduler_;
    const bool hasDelegate_;
    double now_;
    Records records_;
    std::deque<std::function<void()>> queue_;
    int freshIds_ = 0;
    std::optional<FailAt> failure_;
    std::optional<steps::Meddle> atRemoval_;
    /// The write under way holds something that cannot be stored.
    bool spoiled_ = false;
    std::vector<std::string> said_;
};

}  // namespace quendokit::testing
