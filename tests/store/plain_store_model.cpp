#include "tests/store/plain_store_model.hpp"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace quendokit::testing {
namespace {

constexpr double noDate = 0;
constexpr std::int64_t noDevice = -1;
constexpr std::int64_t mac = 1;

}  // namespace

PlainStoreModel::PlainStoreModel(const StoreSequence& sequence)
    : hasScheduler_(sequence.hasScheduler), hasDelegate_(sequence.hasDelegate), now_(sequence.start) {}

std::vector<std::string> PlainStoreModel::take(const Step& step) {
    said_.clear();
    std::visit([this](const auto& each) { act(each); }, step);
    return said_;
}

std::vector<std::string> PlainStoreModel::stored() const {
    Records ordered = records_;
    std::sort(ordered.begin(), ordered.end(),
              [](const PlainRecord& one, const PlainRecord& other) { return one.ID < other.ID; });
    std::vector<std::string> lines;
    for (const PlainRecord& record : ordered) {
        lines.push_back(text(record));
    }
    return lines;
}

// What the host does.

void PlainStoreModel::store(const PlainReminder& reminder) {
    const PlainRecord record = recordOf(reminder);
    const bool written = write([&] {
        if (const auto existing = find(record.ID)) {
            cancel(*existing);
            if (existing->deleted) {
                return;
            }
        }
        say("🗃 [store] " + record.ID);
        add(record);
    });
    if (written) {
        schedule(record);
        tellAdded();
    }
}

void PlainStoreModel::act(const steps::StoreMany& step) {
    const Records records = recordsOf(step.reminders);
    const bool written = write([&] {
        for (const PlainRecord& record : records) {
            add(record);
        }
    });
    if (!written) {
        return;
    }
    for (const PlainReminder& reminder : step.reminders) {
        schedule(reminder);
        tellAdded();
    }
}

void PlainStoreModel::act(const steps::Postpone& step) {
    const auto found = step.reminder.id ? find(*step.reminder.id) : std::nullopt;
    if (!found) {
        return;
    }
    cancel(*found);
    tellRemoved();
    write([&] {
        if (step.date) {
            change(found->ID, "_datetime _device completionDate pending", [&](PlainRecord& record) {
                record.datetime = *step.date;
                record.device = noDevice;
                record.completionDate = *step.date;
                record.pending = true;
            });
        } else {
            change(found->ID, "_datetime _device pending", [](PlainRecord& record) {
                record.datetime = noDate;
                record.device = mac;
                record.pending = true;
            });
        }
    });
    if (const PlainRecord* now = stored(found->ID)) {
        schedule(*now);
    }
    tellAdded();
}

void PlainStoreModel::act(const steps::Delete& step) {
    const auto found = step.reminder.id ? find(*step.reminder.id) : std::nullopt;
    if (found) {
        cancel(step.reminder);
        softDelete(*found);
        tellRemoved();
    }
}

void PlainStoreModel::act(const steps::MarkUnseenAsSeen&) {
    markSeen(unseen());
}

void PlainStoreModel::act(const steps::MarkSeen& step) {
    markSeen(recordsOf(step.reminders));
}

void PlainStoreModel::markSeen(Records records) {
    write([&] {
        for (PlainRecord& record : records) {
            record.shown = true;
            record.pending = true;
            record.completionDate = now_;
            add(record);
        }
    });
}

PlainStoreModel::Records PlainStoreModel::unseen() const {
    Records found;
    for (const PlainRecord& record : records_) {
        if (!record.shown && record.device != noDevice) {
            found.push_back(record);
        }
    }
    return found;
}

void PlainStoreModel::act(const steps::Clear&) {
    const bool written = write([&] {
        say("delete all");
        records_.clear();
    });
    if (written) {
        tellRemoved();
    }
}

void PlainStoreModel::softDelete(const PlainRecord& record) {
    cancel(record);
    write([&] {
        change(record.ID, "deleted pending", [](PlainRecord& stored) {
            stored.deleted = true;
            stored.pending = true;
        });
    });
}

void PlainStoreModel::hardDelete(const PlainRecord& record) {
    cancel(record);
    write([&] { remove(record); });
}

// What comes from the cloud.

void PlainStoreModel::act(const steps::Arrive& step) {
    queue_.emplace_back([this, reminder = step.reminder] { store(reminder); });
}

void PlainStoreModel::act(const steps::ArriveDeletion& step) {
    queue_.emplace_back([this, id = step.id] {
        if (const auto found = find(id)) {
            hardDelete(*found);
        }
    });
}

void PlainStoreModel::act(const steps::Confirm& step) {
    queue_.emplace_back([this, ids = step.ids] {
        write([&] {
            for (const std::string& id : ids) {
                const auto found = find(id);
                if (found && found->deleted) {
                    remove(*found);
                } else if (found) {
                    change(id, "pending", [](PlainRecord& record) { record.pending = false; });
                }
            }
        });
    });
}

void PlainStoreModel::act(const steps::RunQueue& step) {
    while (!queue_.empty()) {
        const auto task = std::move(queue_.front());
        queue_.pop_front();
        task();
        if (!step.all) {
            return;
        }
    }
}

// What only asks.

void PlainStoreModel::act(const steps::Reminders& step) {
    for (const PlainReminder& reminder : reminders(step.includingDeleted)) {
        say("= " + text(reminder));
    }
}

void PlainStoreModel::act(const steps::Lists& step) {
    const ThreeLists three = lists(step.includingDeleted);
    say("= mac");
    answer(three.mac);
    say("= upcoming");
    answer(three.upcoming);
    say("= remaining");
    answer(three.remaining);
}

void PlainStoreModel::act(const steps::Find& step) {
    for (const PlainReminder& reminder : reminders(true)) {
        if (reminder.id == step.id) {
            say("= " + text(reminder));
            return;
        }
    }
    say("= none");
}

void PlainStoreModel::act(const steps::FindRecord& step) {
    const auto found = find(step.id);
    say(found ? "= " + text(*found) : "= none");
}

void PlainStoreModel::act(const steps::HasReminders&) {
    say(reminders(false).empty() ? "= no" : "= yes");
}

void PlainStoreModel::act(const steps::Stats&) {
    const ThreeLists three = lists(false);
    say("= " + std::to_string(three.mac.size() + three.upcoming.size()) + " pending, " +
        std::to_string(three.remaining.size()) + " passed");
}

void PlainStoreModel::act(const steps::Unseen&) {
    answer(unseen());
}

void PlainStoreModel::act(const steps::ToUpload&) {
    Records found = listed(false);
    std::erase_if(found, [](const PlainRecord& record) { return !record.pending; });
    answer(found);
}

void PlainStoreModel::act(const steps::ToDelete&) {
    Records found = listed(true);
    std::erase_if(found, [](const PlainRecord& record) { return !record.deleted || !record.pending; });
    answer(found);
}

// What happens around the controller.

void PlainStoreModel::act(const steps::Meddle& step) {
    if (step.remove) {
        std::erase_if(records_, [&](const PlainRecord& each) { return each.ID == step.record.ID; });
    } else {
        put(step.record);
    }
}

// The rules of records, lists and writes.

PlainRecord PlainStoreModel::recordOf(const PlainReminder& reminder) {
    PlainRecord record;
    record.ID = reminder.id ? *reminder.id : "fresh-" + std::to_string(++freshIds_);
    record.pending = !reminder.id;
    record.title = reminder.title;
    record.datetime = reminder.date.value_or(noDate);
    record.device = reminder.date ? noDevice : mac;
    record.completionDate = reminder.date.value_or(now_);
    record.shown = reminder.shown;
    return record;
}

PlainStoreModel::Records PlainStoreModel::recordsOf(const std::vector<PlainReminder>& reminders) {
    Records records;
    for (const PlainReminder& reminder : reminders) {
        records.push_back(recordOf(reminder));
    }
    return records;
}

std::optional<PlainReminder> PlainStoreModel::reminderOf(const PlainRecord& record) {
    if (record.datetime != noDate) {
        return PlainReminder{record.ID, record.title, record.shown, record.datetime};
    }
    if (record.device == mac) {
        return PlainReminder{record.ID, record.title, record.shown, std::nullopt};
    }
    return std::nullopt;
}

PlainStoreModel::ThreeLists PlainStoreModel::lists(bool includingDeleted) const {
    ThreeLists three;
    for (const PlainRecord& record : records_) {
        if (record.deleted && !includingDeleted) {
            continue;
        }
        const bool dated = record.device == noDevice;
        if (record.device == mac && !record.shown) {
            three.mac.push_back(record);
        }
        if (dated && record.datetime > now_) {
            three.upcoming.push_back(record);
        }
        if ((record.shown && !dated) || (record.datetime < now_ && dated)) {
            three.remaining.push_back(record);
        }
    }
    std::sort(three.mac.begin(), three.mac.end(), [](const PlainRecord& one, const PlainRecord& other) {
        return std::tie(one.title, one.ID) < std::tie(other.title, other.ID);
    });
    std::sort(three.upcoming.begin(), three.upcoming.end(), [](const PlainRecord& one, const PlainRecord& other) {
        return std::tie(one.datetime, one.ID) < std::tie(other.datetime, other.ID);
    });
    std::sort(three.remaining.begin(), three.remaining.end(), [](const PlainRecord& one, const PlainRecord& other) {
        return std::tie(one.completionDate, one.ID) > std::tie(other.completionDate, other.ID);
    });
    return three;
}

PlainStoreModel::Records PlainStoreModel::listed(bool includingDeleted) const {
    const ThreeLists three = lists(includingDeleted);
    Records all = three.mac;
    all.insert(all.end(), three.upcoming.begin(), three.upcoming.end());
    all.insert(all.end(), three.remaining.begin(), three.remaining.end());
    return all;
}

std::optional<PlainRecord> PlainStoreModel::find(std::string_view id) const {
    for (const PlainRecord& record : listed(true)) {
        if (record.ID == id) {
            return record;
        }
    }
    return std::nullopt;
}

std::vector<PlainReminder> PlainStoreModel::reminders(bool includingDeleted) const {
    std::vector<PlainReminder> found;
    for (const PlainRecord& record : listed(includingDeleted)) {
        if (const auto reminder = reminderOf(record)) {
            found.push_back(*reminder);
        }
    }
    return found;
}

bool PlainStoreModel::write(const std::function<void()>& changes) {
    const auto failAt = std::exchange(failure_, std::nullopt);
    if (failAt == FailAt::begin) {
        say("no begin");
        return false;
    }
    const Records before = records_;
    say("begin");
    spoiled_ = false;
    changes();
    if (failAt == FailAt::commit || spoiled_) {
        records_ = before;
        say("rollback");
        return false;
    }
    say("commit");
    return true;
}

void PlainStoreModel::add(const PlainRecord& record) {
    say("add " + record.ID);
    spoiled_ = spoiled_ || !std::isfinite(record.datetime) || !std::isfinite(record.completionDate);
    put(record);
}

void PlainStoreModel::remove(const PlainRecord& record) {
    say("delete " + record.ID);
    std::erase_if(records_, [&](const PlainRecord& each) { return each.ID == record.ID; });
}

void PlainStoreModel::change(const std::string& id, const char* columns, const std::function<void(PlainRecord&)>& how) {
    say("set " + id + " " + columns);
    PlainRecord probe;
    how(probe);
    spoiled_ = spoiled_ || !std::isfinite(probe.datetime);
    if (PlainRecord* record = stored(id)) {
        how(*record);
    }
}

PlainRecord* PlainStoreModel::stored(std::string_view id) {
    for (PlainRecord& record : records_) {
        if (record.ID == id) {
            return &record;
        }
    }
    return nullptr;
}

void PlainStoreModel::put(const PlainRecord& record) {
    if (PlainRecord* existing = stored(record.ID)) {
        *existing = record;
    } else {
        records_.push_back(record);
    }
}

// Who is told.

void PlainStoreModel::schedule(const PlainRecord& record) {
    if (const auto reminder = reminderOf(record)) {
        schedule(*reminder);
    }
}

void PlainStoreModel::cancel(const PlainRecord& record) {
    if (const auto reminder = reminderOf(record)) {
        cancel(*reminder);
    }
}

void PlainStoreModel::schedule(const PlainReminder& reminder) {
    if (hasScheduler_) {
        say("schedule " + text(reminder));
    }
}

void PlainStoreModel::cancel(const PlainReminder& reminder) {
    if (hasScheduler_) {
        say("cancel " + text(reminder));
    }
}

void PlainStoreModel::tellAdded() {
    if (hasDelegate_) {
        say("did add");
    }
}

void PlainStoreModel::tellRemoved() {
    if (!hasDelegate_) {
        return;
    }
    say("did remove");
    if (const auto meddle = std::exchange(atRemoval_, std::nullopt)) {
        act(*meddle);
    }
}

void PlainStoreModel::answer(const Records& records) {
    for (const PlainRecord& record : records) {
        say("= " + text(record));
    }
}

}  // namespace quendokit::testing
