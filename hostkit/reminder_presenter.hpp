#pragma once
/// \file
/// `ReminderPresenter`, by which reminders are put before the person.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/presets/notification_category.hpp"

namespace quendokit {

enum class NoticeKind : std::uint8_t { reminder, deviceReminder, summary, health };

/// What a notification is about: facts alone, the host words it. Plain value.
struct ReminderNotice {
    NoticeKind kind = NoticeKind::reminder;
    /// Of the reminder; empty for a summary and for health.
    std::string id;
    /// As the person wrote it: any bytes, of any length.
    std::string title;
    /// The moment that was to be rung; absent for a device reminder, a summary and health.
    std::optional<Date> occurrence;
    /// More than a minute late.
    bool isMissed = false;
    /// Which buttons it carries. A summary and health carry none.
    NotificationCategory category = NotificationCategory::Morning;
    /// The first titles of a summary, or the lines of health.
    std::vector<std::string> titles;
    /// How many there are in all.
    std::size_t count = 1;
};

/// What a person does with a notification, on the main thread and never inside a call of the presenter's. Each may be
/// absent.
struct ReminderPresenterEvents {
    /// A button, by the identifier that it was given. Whatever the service says comes through: a handle that nobody
    /// knows, a button that there is not.
    std::function<void(const std::string& handle, const std::string& actionIdentifier)> pressed = {};
    /// The notification itself was clicked.
    std::function<void(const std::string& handle)> opened = {};
    /// It is gone from the screen: because the person closed it, or for another reason.
    std::function<void(const std::string& handle, bool byThePerson)> closed = {};
    /// A notification service has appeared, for the first time or again.
    std::function<void()> available = {};
};

/// Implemented by the host. Main thread only.
class ReminderPresenter {
public:
    using Done = std::function<void(Result<std::string> handle)>;

    ReminderPresenter() = default;
    ReminderPresenter(const ReminderPresenter&) = delete;
    ReminderPresenter& operator=(const ReminderPresenter&) = delete;
    virtual ~ReminderPresenter() = default;

    /// Shows `notice` and returns before it is shown. Calls `done` exactly once in a later turn, with the handle of
    /// what is shown or with why it is not; not at all once the presenter is gone. A handle is one line of text, not
    /// empty, that names no other notification and stays valid when the host starts again.
    ///
    /// An error has `retryAfter` when another attempt may help and nothing else will tell of it; without, `available`
    /// does.
    virtual void show(const ReminderNotice& notice, Done done) = 0;

    /// Takes a notification off the screen. Nothing happens for one that is gone and for a handle that names none.
    /// `closed`, not by the person, may follow or not.
    virtual void close(const std::string& handle) = 0;

    /// Whom it tells from now on, instead of anybody before.
    virtual void setEvents(ReminderPresenterEvents events) = 0;
};

}  // namespace quendokit
