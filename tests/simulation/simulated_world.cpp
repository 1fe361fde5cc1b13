#include "tests/simulation/simulated_world.hpp"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "quendokit/model/log_func.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "tests/simulation/person.hpp"
#include "tests/simulation/random.hpp"
#include "tests/simulation/simulated_device.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::simulation {
namespace {

constexpr double secondsOfDay = 86'400;

Instant seconds(double count) {
    return Instant(static_cast<std::int64_t>(count * 1e9));
}

bool isSame(const ReminderStruct& a, const ReminderStruct& b) {
    return a.title() == b.title() && a.shown() == b.shown() && a.condition() == b.condition();
}

class World {
public:
    explicit World(const SimulationOptions& options)
        : options_(options), random_(options.seed), person_(random_, options.devices, options.bursts) {
        surroundings_.log = std::make_shared<EventLog>(options.keepsLog);
        surroundings_.cloud->setReplaysDeletions(options.replaysDeletions);
        if (options.journals) {
            folder_.emplace();
        }
        setLogFunc([log = surroundings_.log](const LogMessage& message) { log->add(message()); });
        for (std::size_t i = 0; i < options.devices; ++i) {
            states_.push_back({});
            devices_.push_back(makeDevice(i));
        }
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() { setLogFunc({}); }

    SimulationResult run() {
        for (std::size_t i = 0; i < devices_.size(); ++i) {
            devices_[i]->start();
            states_[i].nextAction = person_.untilNextAction(options_.actionsPerDay);
            states_[i].nextSpell = seconds(random_.until(secondsOfDay / 6));
        }
        nextExpiry_ = seconds(random_.until(secondsOfDay));
        runUntil(seconds(options_.days * secondsOfDay), true);
        comeToRest();
        return judge();
    }

private:
    /// What befalls a device.
    struct State {
        Instant nextAction{0};
        Instant nextSpell{0};
        Instant restartsAt{0};
        bool offline = false;
    };

    std::unique_ptr<SimulatedDevice> makeDevice(std::size_t index) {
        SimulatedDevice::Settings settings;
        settings.name = std::string(1, static_cast<char>('A' + index));
        settings.method =
            random_.chance(0.5) ? ReminderSyncManager::SyncMethod::push : ReminderSyncManager::SyncMethod::polling;
        settings.seed = random_.next();
        // Most packets of an answer come together; now and then the network takes its time.
        settings.networkLatency = [this] {
            return seconds(random_.chance(0.25) ? random_.between(0.05, 1.5) : random_.between(0, 0.01));
        };
        settings.mainLatency = [this] { return seconds(random_.chance(0.05) ? random_.between(0, 0.2) : 0); };
        settings.faults = [this, index] { return fault(states_[index]); };
        settings.uploadWays = [this] { return wayOfUpload(); };
        settings.failsWrite = [this] { return faultsAreOn_ && options_.failingWrites && random_.chance(0.05); };
        settings.endsAfterWrite = [this] { return personActs_ && ++writes_ == options_.crashAtWrite; };
        if (folder_) {
            settings.journal = folder_->path() / settings.name;
        }
        settings.protections = options_.protections;
        if (settings.protections) {
            settings.protections->guard.jitter = [this] { return random_.fraction(); };
        }
        return std::make_unique<SimulatedDevice>(std::move(settings), surroundings_);
    }

    WanderingUploads::Way wayOfUpload() {
        WanderingUploads::Way way;
        if (faultsAreOn_ && options_.wanderingUploads) {
            way.time = seconds(random_.chance(0.3) ? random_.between(0.2, 5) : 0);
            if (random_.chance(0.1)) {
                way.repeatsAfter = seconds(random_.between(0.05, 4));
            }
        }
        return way;
    }

    std::optional<testing::RequestFault> fault(const State& state) {
        if (state.offline) {
            return testing::RequestFault{false, makeCKError(CKErrorCode::networkUnavailable, "There is no network.")};
        }
        if (faultsAreOn_ && options_.lostRequests && random_.chance(0.02)) {
            return testing::RequestFault{random_.chance(0.5),
                                         makeCKError(CKErrorCode::networkFailure, "The network broke off.")};
        }
        return std::nullopt;
    }

    /// Lets everything happen, in its order, until `end`.
    void runUntil(Instant end, bool personActs) {
        personActs_ = personActs;
        while (true) {
            std::optional<std::pair<Instant, std::size_t>> next;
            const auto consider = [&](std::optional<Instant> instant, std::size_t index) {
                if (instant && (!next || *instant < next->first)) {
                    next = {*instant, index};
                }
            };
            for (std::size_t i = 0; i < devices_.size(); ++i) {
                consider(devices_[i]->nextEvent(), i);
                consider(nextOfTheWorld(i, personActs), i);
            }
            if (!next || next->first > end) {
                break;
            }
            *surroundings_.now = std::max(*surroundings_.now, next->first);
            ++events_;
            happen(next->second, personActs);
            if (devices_[next->second]->hasEnded()) {
                crash(next->second, 2);
            }
        }
        *surroundings_.now = end;
    }

    /// What comes from outside: the person, the network, the power button.
    [[nodiscard]] std::optional<Instant> nextOfTheWorld(std::size_t index, bool personActs) const {
        const State& state = states_[index];
        if (!devices_[index]->isRunning()) {
            return state.restartsAt;
        }
        if (!personActs) {
            return std::nullopt;
        }
        return options_.offlineSpells ? std::min(state.nextAction, state.nextSpell) : state.nextAction;
    }

    void happen(std::size_t index, bool personActs) {
        const Instant now = *surroundings_.now;
        SimulatedDevice& device = *devices_[index];
        State& state = states_[index];
        if (!device.isRunning()) {
            device.start();
            return;
        }
        if (personActs && options_.expiredTokens && nextExpiry_ <= now) {
            surroundings_.cloud->expireTokens();
            nextExpiry_ = now + seconds(random_.until(secondsOfDay / 2));
        }
        const bool crashes = options_.crashes && random_.chance(device.isBusy() ? 0.002 : 0.0001);
        if (personActs && (crashes || events_ == options_.crashAtEvent)) {
            crash(index, options_.crashAgainAt > 0 ? 2 : random_.between(1, 600));
            return;
        }
        if (crashed_ == index && ++eventsSinceCrash_ == options_.crashAgainAt) {
            crash(index, 2);
            return;
        }
        if (personActs && state.nextAction <= now) {
            person_.act(device, index);
            state.nextAction = now + person_.untilNextAction(options_.actionsPerDay);
        } else if (personActs && options_.offlineSpells && state.nextSpell <= now) {
            state.offline = !state.offline;
            state.nextSpell = now + seconds(random_.until(state.offline ? 1800 : secondsOfDay / 6));
            if (!state.offline) {
                device.resume();
            }
        } else {
            device.runNextEvent();
        }
    }

    void crash(std::size_t index, double secondsUntilStart) {
        devices_[index]->crash();
        ++crashes_;
        crashed_ = index;
        states_[index].restartsAt = *surroundings_.now + seconds(secondsUntilStart);
    }

    /// No more faults, and everybody gets every chance to send and to read what there is.
    void comeToRest() {
        faultsAreOn_ = false;
        for (std::size_t i = 0; i < devices_.size(); ++i) {
            states_[i].offline = false;
            if (!devices_[i]->isRunning()) {
                devices_[i]->start();
            }
        }
        if (options_.protections && options_.protections->syncDriver) {
            // The hosts have to see to it themselves.
            wait(options_.restsFor);
            return;
        }
        wait(30);
        for (const auto& device : devices_) {
            device->crash();
            device->start();
        }
        for (int round = 0; round < 2; ++round) {
            wait(30);
            for (const auto& device : devices_) {
                device->act([](ReminderController&, ReminderSyncManager& manager) { manager.requireSync(); });
            }
            wait(30);
            for (const auto& device : devices_) {
                device->act([](ReminderController&, ReminderSyncManager& manager) { manager.remoteSync(); });
            }
        }
        wait(30);
    }

    void wait(double time) { runUntil(*surroundings_.now + seconds(time), false); }

    SimulationResult judge() {
        std::vector<std::map<std::string, ReminderStruct>> places;
        SimulationResult result;
        for (const auto& device : devices_) {
            std::map<std::string, ReminderStruct> place;
            for (const ReminderItem& item : device->stored()) {
                result.pending += item.pending ? 1 : 0;
                if (const auto reminder = item.deleted ? std::nullopt : makeReminderStruct(item)) {
                    place.emplace(item.ID, *reminder);
                }
            }
            places.push_back(std::move(place));
        }
        std::map<std::string, ReminderStruct> onServer;
        for (const CKRecord& record : surroundings_.cloud->records({SimulatedDevice::zoneName})) {
            if (const auto reminder = makeReminderStruct(record)) {
                onServer.emplace(record.recordID().recordName, *reminder);
            }
        }
        places.push_back(std::move(onServer));
        for (const auto& [id, expected] : person_.expectations()) {
            ++result.reminders;
            judge(id, expected, places, result);
        }
        result.hash = surroundings_.log->hash();
        result.events = events_;
        result.crashes = crashes_;
        result.writes = writes_;
        result.deviceDays = options_.days * static_cast<double>(options_.devices);
        result.findings = *surroundings_.findings;
        result.log = surroundings_.log->take();
        return result;
    }

    static bool isRight(const Expectation& expected, const std::map<std::string, ReminderStruct>& place,
                        const std::string& id) {
        const auto found = place.find(id);
        return expected.deleted ? found == place.end()
                                : found != place.end() && isSame(found->second, expected.reminder);
    }

    void judge(const std::string& id, const Expectation& expected,
               const std::vector<std::map<std::string, ReminderStruct>>& places, SimulationResult& result) {
        const bool right =
            std::all_of(places.begin(), places.end(), [&](const auto& place) { return isRight(expected, place, id); });
        if (right) {
            return;
        }
        ++(expected.deleted ? result.ghosts : result.wrong);
        surroundings_.log->setDevice("world");
        surroundings_.log->add((expected.deleted ? "ghost " : "wrong ") + id);
        const auto seen = surroundings_.findings->ofReminder.find(id);
        if (seen == surroundings_.findings->ofReminder.end()) {
            ++result.unexplained;
            return;
        }
        for (const Hazard hazard : seen->second) {
            ++result.lostBy.at(static_cast<std::size_t>(hazard));
        }
    }

    const SimulationOptions options_;
    std::optional<testing::TemporaryFolder> folder_;
    Random random_;
    Person person_;
    Surroundings surroundings_;
    std::vector<State> states_;
    std::vector<std::unique_ptr<SimulatedDevice>> devices_;
    Instant nextExpiry_{0};
    bool faultsAreOn_ = true;
    std::size_t events_ = 0;
    std::size_t crashes_ = 0;
    std::size_t writes_ = 0;
    bool personActs_ = false;
    /// Which one crashed last, and what it has been through since.
    std::optional<std::size_t> crashed_;
    std::size_t eventsSinceCrash_ = 0;
};

}  // namespace

SimulationResult simulate(const SimulationOptions& options) {
    return World(options).run();
}

std::string describe(const SimulationOptions& options) {
    std::string text = "seed " + std::to_string(options.seed) + ", " + std::to_string(options.devices) + " devices, " +
                       std::to_string(options.days) + " days";
    text += options.offlineSpells ? ", offline spells" : "";
    text += options.lostRequests ? ", lost requests" : "";
    text += options.crashes ? ", crashes" : "";
    text += options.expiredTokens ? ", expired tokens" : "";
    text += options.failingWrites ? ", failing writes" : "";
    text += options.wanderingUploads ? ", wandering uploads" : "";
    text += options.protections ? ", protected" : "";
    text += options.bursts ? "" : ", no bursts";
    text += options.crashAtEvent > 0 ? ", crash at event " + std::to_string(options.crashAtEvent) : "";
    text += options.crashAtWrite > 0 ? ", crash at write " + std::to_string(options.crashAtWrite) : "";
    text += options.crashAgainAt > 0 ? ", again at event " + std::to_string(options.crashAgainAt) + " after it" : "";
    text += options.replaysDeletions ? ", replayed deletions" : "";
    return text;
}

std::string describe(const SimulationResult& result) {
    char text[200];
    std::snprintf(text, sizeof text,
                  "%zu reminders, %zu wrong, %zu ghosts (%zu unexplained), %zu pending, %zu events, %zu crashes",
                  result.reminders, result.wrong, result.ghosts, result.unexplained, result.pending, result.events,
                  result.crashes);
    std::string line = text;
    for (std::size_t i = 0; i < hazardNames.size(); ++i) {
        const auto seen = result.findings.count.find(static_cast<Hazard>(i));
        const std::size_t count = seen == result.findings.count.end() ? 0 : seen->second;
        line += "; " + std::string(hazardNames.at(i)) + ": seen " + std::to_string(count) + ", lost " +
                std::to_string(result.lostBy.at(i));
    }
    return line;
}

}  // namespace quendokit::simulation
