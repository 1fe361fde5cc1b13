#pragma once
/// \file
/// `RecordingNotificationCenter`, a `NotificationCenter` that remembers what was posted.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/notification_center.hpp"

namespace quendokit::testing {

/// Hands out what is posted, as every centre does, and keeps a copy. Any thread.
class QUENDOKIT_EXPORT RecordingNotificationCenter final : public NotificationCenter {
public:
    [[nodiscard]] Observer addObserver(std::string_view name, Handler handler) override;
    void removeObserver(Observer observer) override;
    void post(const Notification& notification) override;

    /// Everything posted, in the order in which it was: what a handler posts comes after what it was called for.
    [[nodiscard]] std::vector<Notification> posted() const;
    /// What was posted under `name`.
    [[nodiscard]] std::vector<Notification> posted(std::string_view name) const;

    /// How many observers `name` has.
    [[nodiscard]] std::size_t observerCount(std::string_view name) const;

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
    std::vector<Notification> posted_;
};

}  // namespace quendokit::testing
