#include "adapters/event_loop/process_notification_center.hpp"

#include <utility>
#include <vector>

namespace quendokit {

NotificationCenter::Observer ProcessNotificationCenter::addObserver(std::string_view name, Handler handler) {
    Registration registration{std::string(name), std::make_shared<const Handler>(std::move(handler))};
    const std::lock_guard lock(mutex_);
    const Observer observer{++added_};
    registrations_.emplace(observer, std::move(registration));
    return observer;
}

void ProcessNotificationCenter::removeObserver(Observer observer) {
    // Destroyed without the lock: what a handler holds may come back here when it ends.
    std::shared_ptr<const Handler> removed;
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(observer);
    if (found != registrations_.end()) {
        removed = std::move(found->second.handler);
        registrations_.erase(found);
    }
}

void ProcessNotificationCenter::post(const Notification& notification) {
    std::vector<Observer> observers;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [observer, registration] : registrations_) {
            if (registration.name == notification.name) {
                observers.push_back(observer);
            }
        }
    }
    for (const Observer observer : observers) {
        // Held during the call: the handler may remove itself.
        if (const auto handler = handlerOf(observer)) {
            (*handler)(notification);
        }
    }
}

std::shared_ptr<const NotificationCenter::Handler> ProcessNotificationCenter::handlerOf(Observer observer) const {
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(observer);
    return found == registrations_.end() ? nullptr : found->second.handler;
}

}  // namespace quendokit
