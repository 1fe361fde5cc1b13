/// \file
/// The life of one reminder on two devices, line by line.

#include <gtest/gtest.h>

#include "quendokit/model/log_func.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "tests/simulation/simulated_device.hpp"

namespace quendokit::simulation {
namespace {

using Lines = std::vector<std::string>;

class OneReminderOnTwoDevices : public ::testing::Test {
protected:
    OneReminderOnTwoDevices() {
        surroundings.log = std::make_shared<EventLog>(true);
        setLogFunc([log = surroundings.log](const LogMessage& message) { log->add(message()); });
        SimulatedDevice::Settings settings;
        settings.name = "A";
        a = std::make_unique<SimulatedDevice>(settings, surroundings);
        settings.name = "B";
        b = std::make_unique<SimulatedDevice>(settings, surroundings);
    }
    ~OneReminderOnTwoDevices() override { setLogFunc({}); }

    /// A second passes; then everything that is under way comes to its end, first here, then there.
    Lines afterASecond(SimulatedDevice& first, SimulatedDevice& second) {
        *surroundings.now += std::chrono::seconds(1);
        for (SimulatedDevice* const device : {&first, &second, &first, &second}) {
            if (!device->isRunning()) {
                continue;
            }
            device->act([](ReminderController&, ReminderSyncManager&) {});
            device->settle();
        }
        return surroundings.log->take();
    }

    Surroundings surroundings;
    std::unique_ptr<SimulatedDevice> a;
    std::unique_ptr<SimulatedDevice> b;
};

TEST_F(OneReminderOnTwoDevices, LeavesTheseLines) {
    const std::string local = "quendokit.reminders.did-finish-local-sync";
    const std::string remote = "quendokit.reminders.did-finish-remote-sync";
    a->start();
    EXPECT_EQ(
        afterASecond(*a, *b),
        (Lines{"A: start", "A: ☁️ Creating reminder zone", "A: NSLog There is no zone \"Reminder Zone\" in the cloud.",
               "A: post " + remote, "A: ☁️ Reminder zone created", "A: Adding a new subscription: Reminder Subscription",
               "A: Subscribed for updates with: Reminder Subscription"}));
    b->start();
    EXPECT_EQ(afterASecond(*b, *a), (Lines{"B: start", "B: ☁️ Reminder zone retrieved", "B: post " + remote,
                                           "B: Reusing existing subscription: Reminder Subscription"}));

    Date created(0);
    a->act([&](ReminderController& controller, ReminderSyncManager&) {
        created = platform::clock().now();
        controller.store(PresetController().Later().remind("Tea", created));
    });
    const std::string id = a->lastScheduledID();
    EXPECT_EQ(surroundings.log->take(), (Lines{"A: 🗃 [store] " + id, "A: schedule " + id, "A: did add"}));
    EXPECT_EQ(afterASecond(*a, *b),
              (Lines{"A: 🌤 Uploaded: " + id, "A: post " + local, "B: ☁️ Received: " + id, "B: post " + remote,
                     "B: 🗃 [store] " + id, "B: schedule " + id, "B: did add"}));

    // What came was stored, which asks for a sync: there is nothing to send.
    EXPECT_EQ(afterASecond(*a, *b), (Lines{"B: post " + local}));

    b->act([&](ReminderController& controller, ReminderSyncManager&) {
        const auto action = NotificationAction::fromRawValue("quendo.postpone.action.short");
        const ReminderStruct reminder = controller.reminder(id).value();
        const Preset preset = PresetController().postpone(action.value());
        controller.postpone(reminder, preset.configuration(reminder.condition().date().value()));
    });
    EXPECT_EQ(surroundings.log->take(), (Lines{"B: cancel " + id, "B: did remove", "B: schedule " + id, "B: did add"}));
    EXPECT_EQ(afterASecond(*b, *a),
              (Lines{"B: 🌤 Uploaded: " + id, "B: post " + local, "A: ☁️ Received: " + id, "A: post " + remote,
                     "A: cancel " + id, "A: 🗃 [store] " + id, "A: schedule " + id, "A: did add"}));

    // Later is three hours, and the button adds twenty minutes.
    for (SimulatedDevice* const device : {a.get(), b.get()}) {
        const auto moment = device->reminder(id).value().condition().date();
        EXPECT_EQ(moment, Date(created.timeIntervalSince1970() + 3 * 3600 + 20 * 60));
    }

    // Seen: nobody is told, and it travels.
    a->act([&](ReminderController& controller, ReminderSyncManager&) {
        controller.markSeen({controller.reminder(id).value()});
    });
    EXPECT_EQ(surroundings.log->take(), Lines{});
    EXPECT_EQ(afterASecond(*a, *b),
              (Lines{"A: 🌤 Uploaded: " + id, "A: post " + local, "B: ☁️ Received: " + id, "B: post " + remote,
                     "B: cancel " + id, "B: 🗃 [store] " + id, "B: schedule " + id, "B: did add"}));

    EXPECT_TRUE(b->reminder(id).value().shown());

    b->act([&](ReminderController& controller, ReminderSyncManager&) {
        controller.delete_(controller.reminder(id).value());
    });
    EXPECT_EQ(surroundings.log->take(), (Lines{"B: cancel " + id, "B: cancel " + id, "B: did remove"}));
    EXPECT_EQ(afterASecond(*b, *a), (Lines{"B: 🌤 Uploaded: " + id, "B: post " + local, "A: ☁️ Deleted: " + id,
                                           "A: post " + remote, "A: cancel " + id}));
    EXPECT_TRUE(a->stored().empty());
    EXPECT_TRUE(b->stored().empty());
}

}  // namespace
}  // namespace quendokit::simulation
