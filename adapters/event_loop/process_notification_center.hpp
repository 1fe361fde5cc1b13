#pragma once
/// \file
/// `ProcessNotificationCenter`, the news of one process.

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/notification_center.hpp"

namespace quendokit {

/// Calls each handler at once, on the thread that posts, and holds no lock meanwhile. Any thread.
class QUENDOKIT_EXPORT ProcessNotificationCenter final : public NotificationCenter {
public:
    [[nodiscard]] Observer addObserver(std::string_view name, Handler handler) override;
    void removeObserver(Observer observer) override;
    void post(const Notification& notification) override;

private:
    struct Registration {
        std::string name;
        std::shared_ptr<const Handler> handler;
    };

    /// Null when it was removed.
    [[nodiscard]] std::shared_ptr<const Handler> handlerOf(Observer observer) const;

    mutable std::mutex mutex_;
    std::uint64_t added_ = 0;
    /// In the order in which they were added.
    std::map<Observer, Registration> registrations_;
};

}  // namespace quendokit
