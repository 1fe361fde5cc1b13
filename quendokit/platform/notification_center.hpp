#pragma once
/// \file
/// `NotificationCenter`, news inside the process.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit {

/// One piece of news. Plain value.
struct Notification {
    using UserInfo = std::map<std::string, PropertyValue, std::less<>>;

    std::string name;
    /// Absent when the sender says no more than the name.
    std::optional<UserInfo> userInfo;
};

/// Hands what is posted under a name to everyone who asked for that name. Any thread.
class QUENDOKIT_EXPORT NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    /// Stands for one registration. Never given twice by one centre.
    enum class Observer : std::uint64_t {};

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;
    virtual ~NotificationCenter() = default;

    /// The installed centre of the process.
    [[nodiscard]] static NotificationCenter& defaultCenter();

    /// Calls `handler` for each notification of that name, whoever posts it, until it is removed. The centre keeps the
    /// handler so long.
    [[nodiscard]] virtual Observer addObserver(std::string_view name, Handler handler) = 0;

    /// Begins no further call of the handler and lets go of it; a call that runs on another thread may still end. May
    /// be called by the handler itself. Does nothing when there is no such registration any more.
    virtual void removeObserver(Observer observer) = 0;

    /// Calls the handlers of that name on this thread, one after the other in the order in which they were added, and
    /// returns afterwards. A handler added meanwhile is not called for this notification, one removed meanwhile
    /// neither. A handler may post.
    virtual void post(const Notification& notification) = 0;
};

}  // namespace quendokit
