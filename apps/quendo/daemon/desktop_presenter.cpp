#include "apps/quendo/daemon/desktop_presenter.hpp"

#include <utility>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/dbus/dbus_error.hpp"
#include "apps/quendo/when.hpp"

namespace quendo {
namespace {

using quendokit::DesktopNotification;
using quendokit::DesktopNotifications;
using quendokit::Error;
using quendokit::NoticeKind;
using quendokit::NotificationAction;
using quendokit::ReminderNotice;
using quendokit::Result;

/// The text of a command that does what the button does.
std::string commandOf(NotificationAction action, const std::string& id) {
    constexpr std::string_view prefix = "quendo.postpone.action.";
    return "quendo postpone " + id + " --action " + std::string(action.rawValue().substr(prefix.size()));
}

/// `lines`, one below the other.
std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

DesktopNotification reminderOf(const ReminderNotice& notice) {
    DesktopNotification shown;
    shown.summary = notice.title;
    shown.category = std::string(notice.category.rawValue());
    if (notice.isMissed && notice.occurrence) {
        shown.body = "Missed: it was for " + whenText(*notice.occurrence, *quendokit::LocalTimeZone::current());
    }
    std::vector<std::string> lines;
    if (!shown.body.empty()) {
        lines.push_back(shown.body);
    }
    for (const NotificationAction action : {NotificationAction(NotificationAction::Short),
                                            NotificationAction(NotificationAction::Later), notice.category.action()}) {
        shown.actions.push_back({std::string(action.rawValue()), action.name()});
        lines.push_back(action.name() + ": " + commandOf(action, notice.id));
    }
    shown.bodyWithoutActions = joined(lines);
    return shown;
}

DesktopNotification summaryOf(const ReminderNotice& notice) {
    DesktopNotification shown;
    shown.summary = std::to_string(notice.count) + (notice.count == 1 ? " reminder was" : " reminders were") +
                    (notice.isMissed ? " missed" : " due");
    std::vector<std::string> lines = notice.titles;
    if (notice.count > lines.size()) {
        lines.push_back("and " + std::to_string(notice.count - lines.size()) + " more");
    }
    lines.emplace_back("All of them: quendo list --passed");
    shown.body = joined(lines);
    return shown;
}

DesktopNotification healthOf(const ReminderNotice& notice) {
    DesktopNotification shown;
    shown.summary = "Reminders need you";
    std::vector<std::string> lines = notice.titles;
    lines.emplace_back("More: quendo status");
    shown.body = joined(lines);
    return shown;
}

/// Whether there is nobody who could show anything: somebody who comes is told of.
bool isOfNobody(const Error& error) {
    using quendokit::DBusErrorCode;
    return quendokit::isDBusError(error, DBusErrorCode::noBus) ||
           quendokit::isDBusError(error, DBusErrorCode::disconnected) ||
           quendokit::isDBusError(error, DBusErrorCode::noService);
}

}  // namespace

DesktopNotification notificationOf(const ReminderNotice& notice) {
    switch (notice.kind) {
        case NoticeKind::summary:
            return summaryOf(notice);
        case NoticeKind::health:
            return healthOf(notice);
        case NoticeKind::reminder:
        case NoticeKind::deviceReminder:
            break;
    }
    return reminderOf(notice);
}

DesktopPresenter::DesktopPresenter(std::shared_ptr<quendokit::DispatchQueue> queue,
                                   const std::function<void(const std::string&)>& warn)
    : queue_(std::move(queue)) {
    DesktopNotifications::Options options;
    options.applicationName = "Reminders";
    options.icon = "appointment-soon";
    options.queue = queue_;
    options.events.invoked = [this](const std::string& handle, const std::string& key) {
        if (key == DesktopNotifications::defaultAction) {
            if (events_.opened) {
                events_.opened(handle);
            }
        } else if (events_.pressed) {
            events_.pressed(handle, key);
        }
    };
    options.events.closed = [this](const std::string& handle, DesktopNotifications::CloseReason reason) {
        if (events_.closed) {
            events_.closed(handle, reason == DesktopNotifications::CloseReason::dismissed);
        }
    };
    options.events.serviceAppeared = [this] {
        if (events_.available) {
            events_.available();
        }
    };
    options.events.disconnected = [this, warn] {
        failure_ = Error{"DesktopPresenter", 1, "the session bus has ended"};
        warn("the session bus has ended: no notification can be shown until the daemon is started again");
    };
    auto connected = DesktopNotifications::connect(std::move(options));
    if (connected) {
        notifications_ = std::move(connected).value();
    } else {
        failure_ = connected.error();
        warn("no notification can be shown: " + failure_->description);
    }
}

void DesktopPresenter::show(const ReminderNotice& notice, Done done) {
    if (notifications_) {
        // Not called once this is gone, with which the connection goes.
        notifications_->show(notificationOf(notice), [this, done = std::move(done)](const Result<std::string>& handle) {
            hasFailed_ = !handle;
            if (handle || isOfNobody(handle.error())) {
                done(handle);
                return;
            }
            // It is there and did not do it.
            Error error = handle.error();
            error.retryAfter = 1;
            done(error);
        });
        return;
    }
    // In a later turn, as all answers.
    queue_->async([error = *failure_, done = std::move(done)] { done(error); });
}

void DesktopPresenter::close(const std::string& handle) {
    if (notifications_) {
        notifications_->close(handle);
    }
}

std::optional<std::string> DesktopPresenter::service() const {
    const auto service = notifications_ && !failure_ ? notifications_->service() : std::nullopt;
    return service ? std::optional(service->name + " " + service->version) : std::nullopt;
}

}  // namespace quendo
