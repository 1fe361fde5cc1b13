#include <cstdio>

#include "adapters/event_loop/system_clock.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"

int main() {
    quendokit::SQLiteRealmOptions files;
    files.defaultFile = "reminders.sqlite";
    quendokit::platform::Services services;
    services.clock = std::make_shared<quendokit::SystemClock>();
    services.realmProvider = std::make_shared<quendokit::SQLiteRealmProvider>(files);
    quendokit::platform::install(services);

    auto realm = quendokit::Realm::open(quendokit::QuendoKitConfig());
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        return 1;
    }
    const auto reminders = quendokit::ReminderController::create(nullptr, realm.value());
    const auto arrival = quendokit::ReminderCondition::device(quendokit::DeviceType::mac);
    reminders->store(quendokit::ReminderStruct("Print the tickets", arrival));
    for (const auto& reminder : reminders->reminders(false)) {
        std::printf("%s  %s\n", reminder.id()->c_str(), reminder.title().c_str());
    }
}
