#pragma once
/// \file
/// `DesktopNotifications`, what the desktop shows for an application, and what the person does with it.

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// One notification. All texts are plain; what a desktop could take for markup, or what could disorder its lines, is
/// made harmless on the way, and what is too long is cut and ends in "…". Plain value.
struct DesktopNotification {
    /// A button.
    struct Action {
        /// What `invoked` tells; 1 to `longestActionKey` bytes of UTF-8 without NUL.
        std::string key;
        std::string title;
    };
    enum class Urgency { low, normal, critical };

    std::string summary;
    /// May have several lines.
    std::string body;
    /// Shown in place of `body` where the service draws no buttons. Empty: `body`.
    std::string bodyWithoutActions = {};
    std::vector<Action> actions = {};
    Urgency urgency = Urgency::normal;
    /// A kind of the desktop's ("im.received") or one's own ("x-vendor.kind"). Absent when it has none.
    std::optional<std::string> category = {};
    /// Whether it stays until the person acts; else the desktop takes it away after a while.
    bool persistent = true;
};

/// The notification service of the desktop, over a connection to the session bus with a thread of its own that sleeps
/// while there is nothing to do. Completions and events are called on the given queue in the order in which things
/// happened; none once the object has gone, if it goes on the queue's thread.
///
/// A handle is one line of ASCII that names the bus, the service's instance and the notification. It stays valid when
/// the process starts again, and dies with that instance of the service.
///
/// Any thread.
class QUENDOKIT_EXPORT DesktopNotifications {
public:
    /// How a notification ended: after a while, by the person, by `close`, or the service does not say how.
    enum class CloseReason { expired, dismissed, closed, undefined };

    /// The person opened the notification itself.
    static constexpr const char* defaultAction = "default";
    /// In bytes. Longer keys in the service's signals are nobody's and are not told.
    static constexpr std::size_t longestActionKey = 255;

    /// Whoever provides the service, in its own words.
    struct Service {
        std::string name;
        std::string vendor;
        std::string version;
    };

    /// What happens by itself. Each may be empty. Handles may be those of another application, or of an earlier process
    /// of this one; a key is what the service says, which may be none of this notification.
    struct Events {
        std::function<void(const std::string& handle, const std::string& key)> invoked = {};
        std::function<void(const std::string& handle, CloseReason reason)> closed = {};
        /// A service is there whose abilities are known, as `service` and `supportsActions` say from now on; not for
        /// the one that was there at `connect`.
        std::function<void()> serviceAppeared = {};
        /// The service has ended, and with it all that it showed.
        std::function<void()> serviceVanished = {};
        /// The bus has ended. Told once; there will be no other event.
        std::function<void()> disconnected = {};
    };

    struct Options {
        /// As a person knows it.
        std::string applicationName;
        /// The name of its desktop file without ".desktop". May be empty.
        std::string desktopEntry = {};
        /// A name in the icon theme or the path of a file. May be empty.
        std::string icon = {};
        /// What opening a notification is called, where the desktop says it.
        std::string openTitle = "Open";
        /// For each call to the bus or the service, and for all of `connect`. The start of a service may take 25
        /// seconds.
        std::chrono::milliseconds timeout = std::chrono::seconds(2);
        /// For showing: a service that is slow has shown it all the same, and another attempt would show it twice.
        std::chrono::milliseconds showTimeout = std::chrono::seconds(25);
        std::shared_ptr<DispatchQueue> queue;
        Events events = {};
    };

    using Completion = std::function<void(const Result<std::string>& handle)>;

    /// Connects to the session bus. A service that runs is asked for its abilities; one that does not is no error.
    static Result<std::unique_ptr<DesktopNotifications>> connect(Options options);

    DesktopNotifications(const DesktopNotifications&) = delete;
    DesktopNotifications& operator=(const DesktopNotifications&) = delete;
    /// Leaves what is shown where it is. Completions that are to come do not come any more.
    ~DesktopNotifications();

    /// Shows `notification`; a service that does not run but can be started is started. Its buttons are left out where
    /// the service draws none; where it does, the notification itself can be opened, which invokes `defaultAction`.
    /// `completion` may be empty.
    void show(const DesktopNotification& notification, const Completion& completion);

    /// Takes a notification from the screen; `closed` tells when that has happened. Nothing happens when `handle` is
    /// that of another instance of the service, of a notification that has gone, or no handle at all.
    void close(const std::string& handle);

    /// Whether the service draws buttons; false while none is known.
    [[nodiscard]] bool supportsActions() const;

    /// Absent when no service is there, or it has not yet said what it can do.
    [[nodiscard]] std::optional<Service> service() const;

private:
    class State;
    explicit DesktopNotifications(std::shared_ptr<State> state);
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit
