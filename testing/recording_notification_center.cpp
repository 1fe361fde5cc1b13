#include "testing/recording_notification_center.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quendokit::testing {

NotificationCenter::Observer RecordingNotificationCenter::addObserver(std::string_view name, Handler handler) {
    const std::lock_guard lock(mutex_);
    const Observer observer{++added_};
    registrations_.emplace(observer,
                           Registration{std::string(name), std::make_shared<const Handler>(std::move(handler))});
    return observer;
}

void RecordingNotificationCenter::removeObserver(Observer observer) {
    // Destroyed without the lock: what a handler holds may come back here when it ends.
    std::shared_ptr<const Handler> removed;
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(observer);
    if (found != registrations_.end()) {
        removed = std::move(found->second.handler);
        registrations_.erase(found);
    }
}

void RecordingNotificationCenter::post(const Notification& notification) {
    std::vector<Observer> observers;
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back(notification);
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

std::vector<Notification> RecordingNotificationCenter::posted() const {
    const std::lock_guard lock(mutex_);
    return posted_;
}

std::vector<Notification> RecordingNotificationCenter::posted(std::string_view name) const {
    std::vector<Notification> named;
    const std::lock_guard lock(mutex_);
    std::copy_if(posted_.begin(), posted_.end(), std::back_inserter(named),
                 [name](const Notification& notification) { return notification.name == name; });
    return named;
}

std::size_t RecordingNotificationCenter::observerCount(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(registrations_.begin(), registrations_.end(),
                                                  [name](const auto& each) { return each.second.name == name; }));
}

std::shared_ptr<const NotificationCenter::Handler> RecordingNotificationCenter::handlerOf(Observer observer) const {
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(observer);
    return found == registrations_.end() ? nullptr : found->second.handler;
}

}  // namespace quendokit::testing
