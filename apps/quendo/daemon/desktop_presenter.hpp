#pragma once
/// \file
/// `DesktopPresenter`, reminders as notifications of the desktop.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "adapters/dbus/desktop_notifications.hpp"
#include "hostkit/reminder_presenter.hpp"
#include "quendokit/platform/dispatch_queue.hpp"

namespace quendo {

/// What a notification says, in words. Without buttons, the commands that do the same stand in its text. Plain texts,
/// as long as their title. Main thread, as the titles of buttons are looked up.
[[nodiscard]] quendokit::DesktopNotification notificationOf(const quendokit::ReminderNotice& notice);

/// Shows them by the notification service, when there is one: without a session bus nothing can be shown, and that is
/// what every attempt answers. Main thread.
class DesktopPresenter final : public quendokit::ReminderPresenter {
public:
    /// `queue` is that of the main thread. `warn` hears why nothing can be shown, now or later.
    DesktopPresenter(std::shared_ptr<quendokit::DispatchQueue> queue,
                     const std::function<void(const std::string&)>& warn);

    void show(const quendokit::ReminderNotice& notice, Done done) override;
    void close(const std::string& handle) override;
    void setEvents(quendokit::ReminderPresenterEvents events) override { events_ = std::move(events); }

    /// Whether there is a bus to show them by.
    [[nodiscard]] bool canShow() const noexcept { return !failure_.has_value(); }
    /// Whether the last thing that was to be shown could not be.
    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }
    /// Name and version of what shows them; absent while nothing does.
    [[nodiscard]] std::optional<std::string> service() const;

private:
    const std::shared_ptr<quendokit::DispatchQueue> queue_;
    quendokit::ReminderPresenterEvents events_;
    /// Why there are none.
    std::optional<quendokit::Error> failure_;
    bool hasFailed_ = false;
    std::unique_ptr<quendokit::DesktopNotifications> notifications_;
};

}  // namespace quendo
