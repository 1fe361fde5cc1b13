#include "tests/simulation/person.hpp"

#include <utility>

#include "quendokit/platform/services.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendokit::simulation {
namespace {

constexpr double secondsOfDay = 86'400;

std::chrono::nanoseconds nanoseconds(double seconds) {
    return std::chrono::nanoseconds(static_cast<std::int64_t>(seconds * 1e9));
}

}  // namespace

std::chrono::nanoseconds Person::untilNextAction(double actionsPerDay) {
    if (!bursts_) {
        return nanoseconds(60 + random_.until(secondsOfDay / actionsPerDay));
    }
    if (random_.chance(0.5)) {
        return nanoseconds(random_.between(0.05, 3));
    }
    // The other half makes up for it.
    return nanoseconds(random_.until(2 * secondsOfDay / actionsPerDay));
}

void Person::act(SimulatedDevice& device, std::size_t index) {
    const auto chosen = random_.chance(0.3) ? std::nullopt : choose(index);
    if (chosen) {
        change(device, *chosen);
    } else {
        create(device, index);
    }
}

std::optional<std::string> Person::choose(std::size_t index) {
    const auto isMine = [&](const auto& entry) { return entry.second.owner == index && !entry.second.deleted; };
    const auto last = expectations_.find(lastTouched_[index]);
    if (last != expectations_.end() && isMine(*last) && random_.chance(0.7)) {
        return last->first;
    }
    std::vector<std::string> mine;
    for (const auto& entry : expectations_) {
        if (isMine(entry)) {
            mine.push_back(entry.first);
        }
    }
    return mine.empty() ? std::nullopt : std::optional(mine[random_.below(mine.size())]);
}

void Person::create(SimulatedDevice& device, std::size_t index) {
    const std::string title = "Title " + std::to_string(++titles_);
    const std::uint64_t choice = random_.below(11);
    const double ahead = random_.between(60, 3 * secondsOfDay);
    std::optional<ReminderStruct> made;
    device.act([&](ReminderController& controller, ReminderSyncManager&) {
        const PresetController presets;
        const Preset preset = choice == 10 ? presets.Short() : presets.presets()[choice];
        const Date now = platform::clock().now();
        // A date is picked ahead of now; every other preset goes by the moment of asking.
        const Date from = preset.type == PresetType::custom ? Date(now.timeIntervalSince1970() + ahead) : now;
        made = preset.remind(title, from);
        controller.store(*made);
    });
    const std::string& id = device.lastScheduledID();
    expectations_.insert_or_assign(id, Expectation{index, {id, title, false, made->condition()}});
    lastTouched_[index] = id;
}

void Person::change(SimulatedDevice& device, const std::string& id) {
    Expectation& expected = expectations_.at(id);
    lastTouched_[expected.owner] = id;
    const std::uint64_t choice = random_.below(10);
    const double ahead = random_.between(60, 3 * secondsOfDay);
    const std::string title = "Title " + std::to_string(++titles_);
    // It may have to wait for its turn; what is expected then is what was said.
    device.change(id, [&expected, &device, id, choice, ahead, title](ReminderController& controller) {
        const auto stored = controller.reminder(id);
        if (!stored) {
            // It got lost earlier: there is nothing to act on.
            return;
        }
        const ReminderStruct before = expected.reminder;
        if (choice < 2) {
            controller.delete_(*stored);
            expected.deleted = true;
        } else if (choice < 3 && before.condition().deviceType()) {
            controller.markSeen({*stored});
            expected.reminder = {id, before.title(), true, before.condition()};
        } else if (choice < 5) {
            device.edit(controller, ReminderStruct(id, title, stored->shown(), stored->condition()));
            expected.reminder = {id, title, before.shown(), before.condition()};
        } else {
            const auto condition =
                choice == 5
                    ? ReminderCondition::device(DeviceType::mac)
                    : ReminderCondition::dateTime(Date(platform::clock().now().timeIntervalSince1970() + ahead));
            controller.postpone(*stored, condition);
            expected.reminder = {id, before.title(), before.shown(), condition};
        }
    });
}

}  // namespace quendokit::simulation
