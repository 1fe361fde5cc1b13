// A host that stores a reminder and looks whether it is there: in memory, or in the file that it is given. Then it
// looks at a local clock.

#include <cstdio>
#include <memory>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"

int main(int count, char** arguments) {
    using namespace quendokit;

    platform::Services services;
    services.clock = std::make_shared<SystemClock>();
    services.realmProvider = std::make_shared<testing::InMemoryRealmProvider>();
    if (count > 1) {
        SQLiteRealmOptions options;
        options.defaultFile = arguments[1];
        services.realmProvider = std::make_shared<SQLiteRealmProvider>(options);
    }
    platform::install(services);

    auto realm = Realm::open(QuendoKitConfig());
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        return 1;
    }
    const auto controller = ReminderController::create(nullptr, realm.value());
    controller->store(ReminderStruct("Call the bank", ReminderCondition::device(DeviceType::mac)));

    const auto reminders = controller->reminders(false);
    const bool found = reminders.size() == 1 && reminders.front().title() == "Call the bank";
    const bool knowsTime = LocalTimeZone::current()->localDateTime(services.clock->now()).has_value();
    return found && knowsTime ? 0 : 1;
}
