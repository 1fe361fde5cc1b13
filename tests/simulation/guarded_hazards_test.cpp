/// \file
/// The ways in which plain devices lose changes or stand still, played by hand on protected ones, which do not.

#include <gtest/gtest.h>

#include "hostkit/cloud_move.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "tests/simulation/simulated_device.hpp"

namespace quendokit::simulation {
namespace {

using namespace std::chrono_literals;

/// Device A may be offline, and the server may refuse or fail; B is always online. The parameter: whether they are
/// protected.
class TwoDevices : public ::testing::TestWithParam<bool> {
protected:
    TwoDevices() {
        surroundings.log = std::make_shared<EventLog>(true);
        surroundings.cloud->setReplaysDeletions(true);
        a = make("A", [this]() -> std::optional<testing::RequestFault> {
            if (fault && faultCount > 0) {
                --faultCount;
                return testing::RequestFault{false, *fault};
            }
            return std::nullopt;
        });
        b = make("B", {});
    }

    std::unique_ptr<SimulatedDevice> make(const std::string& name, testing::InMemoryCloudDatabase::Faults faults) {
        SimulatedDevice::Settings settings;
        settings.name = name;
        settings.faults = std::move(faults);
        if (name == "A") {
            settings.uploadWays = [this] { return std::exchange(nextWay, WanderingUploads::Way()); };
            settings.failsWrite = [this] { return std::exchange(writeFails, false); };
        }
        if (GetParam()) {
            settings.protections.emplace();
            settings.protections->guard.jitter = [] { return 0.0; };
        }
        return std::make_unique<SimulatedDevice>(std::move(settings), surroundings);
    }

    void startBoth() {
        for (SimulatedDevice* const device : {a.get(), b.get()}) {
            device->start();
            device->settle();
        }
    }
    void goOffline() { failWith(CKErrorCode::networkUnavailable, 1'000'000); }
    void failWith(CKErrorCode code, std::size_t count) {
        fault = makeCKError(code, "It failed.");
        faultCount = count;
    }
    void goOnline() {
        fault.reset();
        a->resume();
        a->settle();
    }
    /// Lets time pass on both, second by second, with everything that is under way then.
    void pass(std::chrono::seconds time) {
        for (std::chrono::seconds passed(0); passed < time; ++passed) {
            *surroundings.now += 1s;
            for (SimulatedDevice* const device : {a.get(), b.get(), a.get()}) {
                if (device->isRunning()) {
                    device->act([](ReminderController&, ReminderSyncManager&) {});
                    device->settle();
                }
            }
        }
    }
    static void download(SimulatedDevice& device) {
        device.act([](ReminderController&, ReminderSyncManager& manager) { manager.remoteSync(); });
        device.settle();
    }
    static std::string store(SimulatedDevice& device, const std::string& title = "tea") {
        device.act([&](ReminderController& controller, ReminderSyncManager&) {
            controller.store(ReminderStruct(title, ReminderCondition::dateTime(earlier)));
        });
        return device.lastScheduledID();
    }
    static void postpone(SimulatedDevice& device, const std::string& id) {
        device.change(id, [id](ReminderController& controller) {
            controller.postpone(controller.reminder(id).value(), ReminderCondition::dateTime(later));
        });
    }
    static void remove(SimulatedDevice& device, const std::string& id) {
        device.change(id, [id](ReminderController& controller) {
            if (const auto found = controller.reminder(id)) {
                controller.delete_(*found);
            }
        });
    }
    static bool isAt(SimulatedDevice& device, const std::string& id, Date moment) {
        const auto found = device.reminder(id);
        return found && found->condition() == ReminderCondition::dateTime(moment);
    }
    [[nodiscard]] std::size_t onServer() const {
        return surroundings.cloud->records({SimulatedDevice::zoneName}).size();
    }
    [[nodiscard]] static bool isProtected() { return GetParam(); }

    static constexpr Date earlier = Date(1'795'400'000);
    static constexpr Date later = Date(1'795'500'000);
    Surroundings surroundings;
    std::optional<Error> fault;
    std::size_t faultCount = 0;
    bool writeFails = false;
    WanderingUploads::Way nextWay;
    std::unique_ptr<SimulatedDevice> a;
    std::unique_ptr<SimulatedDevice> b;
};

TEST_P(TwoDevices, PostponeOffline) {
    startBoth();
    const std::string id = store(*a);
    pass(2s);
    goOffline();
    postpone(*a, id);
    pass(2s);
    download(*a);
    goOnline();
    download(*a);
    pass(5s);
    EXPECT_EQ(isAt(*a, id, later), isProtected());
    EXPECT_EQ(isAt(*b, id, later), isProtected());
}

TEST_P(TwoDevices, ChangeDuringAnUpload) {
    startBoth();
    const std::string id = store(*a);
    *surroundings.now += 1s;
    a->act([](ReminderController&, ReminderSyncManager&) {});
    if (isProtected()) {
        EXPECT_TRUE(a->runMainTask());
    }
    EXPECT_TRUE(a->runNetworkTask());
    EXPECT_EQ(onServer(), 1U);
    postpone(*a, id);
    a->settle();
    pass(5s);
    EXPECT_TRUE(isAt(*a, id, later));
    EXPECT_EQ(isAt(*b, id, later), isProtected());
}

TEST_P(TwoDevices, DeleteDuringAnUpload) {
    startBoth();
    const std::string id = store(*a);
    *surroundings.now += 1s;
    a->act([](ReminderController&, ReminderSyncManager&) {});
    if (isProtected()) {
        EXPECT_TRUE(a->runMainTask());
    }
    EXPECT_TRUE(a->runNetworkTask());
    remove(*a, id);
    a->settle();
    pass(5s);
    EXPECT_EQ(b->stored().empty(), isProtected());
    EXPECT_EQ(onServer() == 0, isProtected());
}

TEST_P(TwoDevices, CrashBetweenATokenAndWhatItStandsFor) {
    startBoth();
    const std::string id = store(*b);
    pass(0s);
    *surroundings.now += 1s;
    b->act([](ReminderController&, ReminderSyncManager&) {});
    b->settle();
    // A crashes at the first moment at which the page was read and what is in it still is queued.
    const std::string line = "A: ☁️ Received: " + id;
    bool received = false;
    while (!received && (a->runNetworkTask() || a->runMainTask())) {
        for (const std::string& each : surroundings.log->take()) {
            received = received || each == line;
        }
    }
    ASSERT_TRUE(received);
    if (!isProtected()) {
        while (a->runNetworkTask()) {
        }
    }
    a->crash();
    a->start();
    a->settle();
    pass(5s);
    EXPECT_EQ(a->reminder(id).has_value(), isProtected());
}

TEST_P(TwoDevices, DeletionWhileTheOtherOneIsOffline) {
    startBoth();
    const std::string id = store(*b);
    pass(2s);
    goOffline();
    download(*a);
    remove(*b, id);
    pass(2s);
    goOnline();
    download(*a);
    // This one the server heals, which tells of deletions from the beginning.
    EXPECT_FALSE(a->reminder(id));
}

TEST_P(TwoDevices, SyncWithSomethingUnsentBlocksNothing) {
    startBoth();
    const std::string id = store(*a);
    a->act([](ReminderController&, ReminderSyncManager& manager) {
        manager.sync();
        manager.sync();
    });
    a->settle();
    EXPECT_EQ(onServer(), 0U);  // what `sync` made never runs
    pass(3s);
    EXPECT_EQ(onServer(), 1U);
    postpone(*a, id);
    pass(3s);
    EXPECT_TRUE(isAt(*b, id, later));
}

TEST_P(TwoDevices, AnUploadThatFailedForGoodIsTriedAgain) {
    startBoth();
    store(*a);
    failWith(CKErrorCode::quotaExceeded, 1);
    pass(2s);
    EXPECT_EQ(onServer(), 0U);
    pass(60s);
    EXPECT_EQ(onServer() == 1, isProtected());
}

TEST_P(TwoDevices, WhatWasUnsentAtARestartIsSent) {
    startBoth();
    store(*a);
    a->crash();
    a->start();
    pass(60s);
    EXPECT_EQ(onServer() == 1, isProtected());
}

TEST_P(TwoDevices, AStartWithoutNetworkAndALateZone) {
    goOffline();
    a->start();
    a->settle();
    store(*a);
    pass(30s);
    goOnline();
    pass(60s);
    EXPECT_EQ(onServer() == 1, isProtected());
}

TEST_P(TwoDevices, UploadsThatOverlapLandInTheirOrder) {
    startBoth();
    const std::string id = store(*a);
    pass(2s);
    // The first one waits at the network while the second one is made.
    postpone(*a, id);
    *surroundings.now += 1s;
    a->act([](ReminderController&, ReminderSyncManager&) {});
    a->runMainTask();
    a->change(id, [&](ReminderController& controller) {
        controller.postpone(controller.reminder(id).value(), ReminderCondition::dateTime(earlier));
    });
    *surroundings.now += 1s;
    a->act([](ReminderController&, ReminderSyncManager&) {});
    pass(5s);
    EXPECT_TRUE(isAt(*a, id, earlier));
    EXPECT_TRUE(isAt(*b, id, earlier));
}

TEST_P(TwoDevices, AnUploadThatTakesLongerThanTheOneAfterIt) {
    startBoth();
    const std::string id = store(*a);
    nextWay.time = 5s;
    pass(2s);
    postpone(*a, id);
    pass(10s);
    EXPECT_EQ(isAt(*b, id, later), isProtected());
    EXPECT_EQ(surroundings.findings->count.contains(Hazard::uploadOvertaken), !isProtected());
}

TEST_P(TwoDevices, AnUploadThatArrivesTwice) {
    startBoth();
    const std::string id = store(*a);
    nextWay.repeatsAfter = 5s;
    pass(2s);
    postpone(*a, id);
    pass(10s);
    EXPECT_EQ(isAt(*b, id, later), isProtected());
    EXPECT_EQ(surroundings.findings->count.contains(Hazard::uploadOvertaken), !isProtected());
}

TEST_P(TwoDevices, AnUploadThatTheServerTakesOnlyInParts) {
    startBoth();
    surroundings.cloud->setRequestLimit(2);  // what a server does that takes less than ours
    for (int i = 0; i < 5; ++i) {
        store(*a, "tea " + std::to_string(i));
    }
    pass(5s);
    EXPECT_EQ(onServer() == 5, isProtected());
    EXPECT_EQ(b->stored().size() == 5, isProtected());
}

TEST_P(TwoDevices, AWriteThatFailsWhileAPageIsStored) {
    startBoth();
    writeFails = true;
    const std::string id = store(*b);
    pass(3s);
    EXPECT_FALSE(writeFails);
    download(*a);
    pass(3s);
    EXPECT_EQ(isAt(*a, id, earlier), isProtected());
}

TEST_P(TwoDevices, AWriteThatFailsIsMadeUpForSoon) {
    startBoth();
    writeFails = true;
    const std::string id = store(*b);
    pass(3s);
    EXPECT_FALSE(writeFails);
    EXPECT_FALSE(a->reminder(id));
    pass(30s);
    EXPECT_EQ(isAt(*a, id, earlier), isProtected());
}

TEST_P(TwoDevices, AWriteThatFailsInAPageBeforeTheLast) {
    startBoth();
    surroundings.cloud->setPageSize(1);
    goOffline();
    std::vector<std::string> ids;
    for (int i = 0; i < 4; ++i) {
        ids.push_back(store(*b, "tea " + std::to_string(i)));
    }
    pass(3s);
    writeFails = true;
    goOnline();
    download(*a);
    pass(3s);
    EXPECT_FALSE(writeFails);
    download(*a);
    pass(3s);
    EXPECT_EQ(a->stored().size() == ids.size(), isProtected());
}

TEST_P(TwoDevices, AZoneThatWasRemovedFromTheCloud) {
    startBoth();
    const std::string ofA = store(*a);
    const std::string ofB = store(*b);
    pass(3s);
    surroundings.cloud->removeZone({SimulatedDevice::zoneName});
    a->crash();
    b->crash();
    a->start();
    a->settle();
    if (isProtected()) {
        a->act([](ReminderController& controller, ReminderSyncManager&) {
            resendEverything(controller.shared_from_this(), nullptr, {});
        });
    }
    pass(3s);
    b->start();
    b->settle();
    postpone(*a, ofA);
    pass(5s);
    EXPECT_EQ(onServer() == 2, isProtected());
    EXPECT_TRUE(isAt(*b, ofA, later));
}

INSTANTIATE_TEST_SUITE_P(Plain, TwoDevices, ::testing::Values(false));
INSTANTIATE_TEST_SUITE_P(Protected, TwoDevices, ::testing::Values(true));

}  // namespace
}  // namespace quendokit::simulation
