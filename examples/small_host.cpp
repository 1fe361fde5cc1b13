#include <clocale>
#include <cstdio>

#include "adapters/linux/linux_platform.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"

int main() {
    std::setlocale(LC_ALL, "");
    quendokit::LinuxPlatformOptions host;
    host.folders = quendokit::LinuxFolders::inOne("small-host");
    quendokit::installLinuxPlatform(host);

    auto realm = quendokit::Realm::open(quendokit::QuendoKitConfig());
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        return 1;
    }
    const auto reminders = quendokit::ReminderController::create(nullptr, realm.value());
    const auto evening = quendokit::PresetController().ThisEvening();
    reminders->store(evening.remind("Call the bank", quendokit::platform::clock().now()));
    for (const auto& reminder : reminders->reminders(false)) {
        std::printf("%s  %s\n", reminder.id()->c_str(), reminder.title().c_str());
    }
}
