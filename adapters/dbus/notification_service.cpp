#include <algorithm>
#include <cstdint>
#include <utility>

#include "adapters/dbus/notification_service_internal.hpp"

namespace quendokit::dbus {
namespace {

/// What the bus allows a service by default; a graphical one may take seconds on a busy machine.
constexpr std::chrono::milliseconds longestStart = std::chrono::seconds(25);

bool holds(const std::vector<std::string>& words, const char* word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

NotificationService::NotificationService(std::shared_ptr<Bus> bus, Events events)
    : bus_(std::move(bus)), events_(std::move(events)), name_(std::make_shared<BusName>(bus_, notificationsService)) {}

std::optional<NotificationAbilities> NotificationService::abilities() const {
    const std::lock_guard lock(mutex_);
    return abilities_;
}

void NotificationService::set(std::optional<NotificationAbilities> abilities) {
    const std::lock_guard lock(mutex_);
    abilities_ = std::move(abilities);
}

void NotificationService::follow(std::function<void()> known, std::function<void()> asked) {
    asked_ = std::move(asked);
    name_->watch(
        [self = shared_from_this(), known = std::move(known)] {
            known();
            if (self->name_->owner().empty()) {
                self->didAskFirst();
            } else {
                self->ask();
            }
        },
        [self = shared_from_this()](const std::string& before) { self->didChangeOwner(before); });
}

void NotificationService::didChangeOwner(const std::string& before) {
    set(std::nullopt);
    isAsking_ = false;
    didAskFirst();
    if (!before.empty()) {
        events_.vanished();
    }
    if (name_->owner().empty()) {
        isNew_ = false;
        if (!isLaunching_) {
            tellWaiting(makeDBusError(DBusErrorCode::noService, "the notification service has ended"));
        }
        return;
    }
    isNew_ = true;
    ask();
}

void NotificationService::ask() {
    isAsking_ = true;
    const std::string& owner = name_->owner();
    bus_->call({owner, notificationsPath, notificationsService, "GetCapabilities"},
               [self = shared_from_this(), owner](const Result<Bus::Reply>& answer) {
                   if (!answer) {
                       self->didAsk(owner, answer.error());
                       return;
                   }
                   const auto words = read<std::vector<std::string>>(*answer.value());
                   if (!words) {
                       self->didAsk(owner, makeDBusError(DBusErrorCode::refused,
                                                         "the notification service does not say what it can do"));
                       return;
                   }
                   const auto& capabilities = std::get<0>(*words);
                   self->askForWords(owner, {{}, holds(capabilities, "actions"), holds(capabilities, "body-markup")});
               });
}

void NotificationService::askForWords(const std::string& owner, NotificationAbilities abilities) {
    bus_->call({owner, notificationsPath, notificationsService, "GetServerInformation"},
               [self = shared_from_this(), owner, abilities](const Result<Bus::Reply>& answer) mutable {
                   // A service that does not say who it is can be used all the same.
                   if (answer) {
                       if (auto words = read<std::string, std::string, std::string>(*answer.value())) {
                           auto& [name, vendor, version] = *words;
                           abilities.words = {std::move(name), std::move(vendor), std::move(version)};
                       }
                   }
                   self->didAsk(owner, abilities);
               });
}

void NotificationService::didAsk(const std::string& owner, const Result<NotificationAbilities>& answer) {
    if (!isAsking_ || owner != name_->owner()) {
        return;
    }
    isAsking_ = false;
    if (answer) {
        set(answer.value());
        if (std::exchange(isNew_, false)) {
            events_.appeared();
        }
    }
    didAskFirst();
    tellWaiting(answer);
}

void NotificationService::didAskFirst() {
    if (asked_) {
        std::exchange(asked_, nullptr)();
    }
}

void NotificationService::use(Ready ready) {
    if (const auto known = abilities()) {
        ready(*known);
        return;
    }
    waiting_.push_back(std::move(ready));
    if (!name_->owner().empty()) {
        if (!isAsking_) {
            ask();
        }
    } else if (!isLaunching_) {
        launch();
    }
}

void NotificationService::launch() {
    isLaunching_ = true;
    const auto arguments = [](sdbus::MethodCall& call) { call << notificationsService << std::uint32_t{0}; };
    bus_->call({busService, busPath, busService, "StartServiceByName", arguments, longestStart},
               [self = shared_from_this()](const Result<Bus::Reply>& answer) {
                   self->isLaunching_ = false;
                   // One that was started has its name before this answer, and is asked or has been.
                   if (self->name_->owner().empty()) {
                       self->tellWaiting(answer ? makeDBusError(DBusErrorCode::noService,
                                                                "the notification service has ended at once")
                                                : answer.error());
                   }
               });
}

void NotificationService::tellWaiting(const Result<NotificationAbilities>& answer) {
    for (const Ready& ready : std::exchange(waiting_, {})) {
        ready(answer);
    }
}

}  // namespace quendokit::dbus
