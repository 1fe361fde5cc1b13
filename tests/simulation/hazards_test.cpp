/// \file
/// How changes get lost between two devices when nothing guards them: each way played by hand. The engine keeps its
/// rules; hosts that must not lose anything put something around it.

#include <gtest/gtest.h>

#include "quendokit/model/log_func.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "tests/simulation/simulated_device.hpp"

namespace quendokit::simulation {
namespace {

class TwoPlainDevices : public ::testing::Test {
protected:
    TwoPlainDevices() {
        surroundings.log = std::make_shared<EventLog>(true);
        SimulatedDevice::Settings settings;
        settings.name = "A";
        settings.faults = [this]() -> std::optional<testing::RequestFault> {
            if (!offline) {
                return std::nullopt;
            }
            return testing::RequestFault{false, makeCKError(CKErrorCode::networkUnavailable, "There is no network.")};
        };
        a = std::make_unique<SimulatedDevice>(settings, surroundings);
        settings.name = "B";
        settings.faults = {};
        b = std::make_unique<SimulatedDevice>(settings, surroundings);
        a->start();
        a->settle();
        b->start();
        b->settle();
    }

    /// Lets a second pass, in which what is to be sent begins to be sent.
    void debounce(SimulatedDevice& device) {
        *surroundings.now += std::chrono::seconds(1);
        device.act([](ReminderController&, ReminderSyncManager&) {});
    }
    /// Sends, and reads on both devices.
    void syncBoth() {
        for (SimulatedDevice* const device : {a.get(), b.get()}) {
            debounce(*device);
            a->settle();
            b->settle();
        }
    }
    static void download(SimulatedDevice& device) {
        device.act([](ReminderController&, ReminderSyncManager& manager) { manager.remoteSync(); });
        device.settle();
    }
    std::string store(SimulatedDevice& device) {
        device.act([](ReminderController& controller, ReminderSyncManager&) {
            controller.store(ReminderStruct("tea", ReminderCondition::dateTime(earlier)));
        });
        return device.lastScheduledID();
    }
    static void postpone(SimulatedDevice& device, const std::string& id) {
        device.act([&](ReminderController& controller, ReminderSyncManager&) {
            controller.postpone(controller.reminder(id).value(), ReminderCondition::dateTime(later));
        });
    }
    static void remove(SimulatedDevice& device, const std::string& id) {
        device.act([&](ReminderController& controller, ReminderSyncManager&) {
            controller.delete_(controller.reminder(id).value());
        });
    }
    /// Whether the reminder is stored there for that moment.
    static bool isAt(SimulatedDevice& device, const std::string& id, Date moment) {
        const auto found = device.reminder(id);
        return found && found->condition() == ReminderCondition::dateTime(moment);
    }
    [[nodiscard]] std::size_t seen(Hazard hazard) const {
        const auto found = surroundings.findings->count.find(hazard);
        return found == surroundings.findings->count.end() ? 0 : found->second;
    }

    static constexpr Date earlier = Date(1'795'400'000);
    static constexpr Date later = Date(1'795'500'000);
    Surroundings surroundings;
    bool offline = false;
    std::unique_ptr<SimulatedDevice> a;
    std::unique_ptr<SimulatedDevice> b;
};

TEST_F(TwoPlainDevices, KeepEachOtherInStep) {
    const std::string id = store(*a);
    syncBoth();
    EXPECT_TRUE(isAt(*b, id, earlier));
    postpone(*b, id);
    syncBoth();
    EXPECT_TRUE(isAt(*a, id, later));
    remove(*a, id);
    syncBoth();
    EXPECT_TRUE(a->stored().empty());
    EXPECT_TRUE(b->stored().empty());
    EXPECT_TRUE(surroundings.findings->count.empty());
}

TEST_F(TwoPlainDevices, LoseAPostponementWhenADownloadFailedMeanwhile) {
    const std::string id = store(*a);
    syncBoth();
    offline = true;
    postpone(*a, id);
    debounce(*a);
    download(*a);  // fails, and erases the token
    EXPECT_TRUE(isAt(*a, id, later));
    offline = false;
    download(*a);  // the whole zone, with the version before
    EXPECT_TRUE(isAt(*a, id, earlier));
    syncBoth();
    EXPECT_TRUE(isAt(*b, id, earlier));
    EXPECT_EQ(seen(Hazard::olderVersionAfterErasedToken), 1U);
}

TEST_F(TwoPlainDevices, LoseAChangeThatWasMadeDuringTheUpload) {
    const std::string id = store(*a);
    debounce(*a);
    EXPECT_TRUE(a->runNetworkTask());  // the server has the first version
    postpone(*a, id);
    a->settle();  // the confirmation, which marks the second one, too
    EXPECT_FALSE(a->stored().at(0).pending);
    syncBoth();
    EXPECT_TRUE(isAt(*a, id, later));
    EXPECT_TRUE(isAt(*b, id, earlier));
    EXPECT_EQ(seen(Hazard::changedDuringUpload), 1U);
}

TEST_F(TwoPlainDevices, KeepAReminderThatWasDeletedDuringItsUpload) {
    const std::string id = store(*a);
    debounce(*a);
    EXPECT_TRUE(a->runNetworkTask());
    remove(*a, id);
    a->settle();  // the confirmation of the save takes the deletion for confirmed
    EXPECT_TRUE(a->stored().empty());
    syncBoth();
    EXPECT_TRUE(isAt(*b, id, earlier));
    EXPECT_EQ(seen(Hazard::deletedDuringUpload), 1U);
}

TEST_F(TwoPlainDevices, LoseWhatWasQueuedBehindItsToken) {
    const std::string id = store(*a);
    debounce(*a);
    a->settle();
    while (b->runNetworkTask()) {
    }
    EXPECT_TRUE(b->runMainTask());  // the push asks for the download
    while (b->runNetworkTask()) {
    }
    b->crash();  // the token is stored, the reminder is not
    b->start();
    b->settle();
    syncBoth();
    EXPECT_FALSE(b->reminder(id));
    EXPECT_EQ(seen(Hazard::tokenBeforeChanges), 1U);
}

TEST_F(TwoPlainDevices, KeepAReminderWhoseDeletionNobodyTold) {
    const std::string id = store(*b);
    syncBoth();
    offline = true;
    download(*a);
    remove(*b, id);
    debounce(*b);
    b->settle();
    a->settle();  // what the push asked for fails, too
    offline = false;
    download(*a);
    syncBoth();
    EXPECT_TRUE(a->reminder(id));
    EXPECT_TRUE(b->stored().empty());
    EXPECT_EQ(seen(Hazard::deletionNotTold), 1U);
}

TEST_F(TwoPlainDevices, HearOfThatDeletionFromAServerThatRemembersIt) {
    surroundings.cloud->setReplaysDeletions(true);
    const std::string id = store(*b);
    syncBoth();
    offline = true;
    download(*a);
    remove(*b, id);
    debounce(*b);
    b->settle();
    offline = false;
    download(*a);
    EXPECT_FALSE(a->reminder(id));
}

}  // namespace
}  // namespace quendokit::simulation
