#pragma once
/// \file
/// `InMemoryUbiquitousStore`, a key-value store whose cloud is the test.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "testing/in_memory_properties.hpp"

namespace quendokit::testing {

/// Carries nothing anywhere; what comes from other devices, a test lets arrive. Any thread.
class QUENDOKIT_EXPORT InMemoryUbiquitousStore final : public NSUbiquitousKeyValueStore, public InMemoryProperties {
public:
    /// An absent value stands for a key that was removed.
    using Changes = std::map<std::string, std::optional<PropertyValue>, std::less<>>;

    InMemoryUbiquitousStore() = default;
    /// Holds `values` from the beginning, as a copy that an earlier run has left.
    explicit InMemoryUbiquitousStore(Values values) : InMemoryProperties(std::move(values)) {}

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override { return countedRead(key); }
    void set(std::string_view key, PropertyValue value) override { countedSet(key, std::move(value)); }
    void remove(std::string_view key) override { countedRemove(key); }
    bool synchronize() override;

    /// Makes the changes, which do not count as writes, and posts
    /// `NSUbiquitousKeyValueStoreDidChangeExternallyNotification` with `reason` to `center`.
    void arrive(const Changes& changes, std::int64_t reason, NotificationCenter& center);
    /// The same with the installed centre.
    void arrive(const Changes& changes, std::int64_t reason = NSUbiquitousKeyValueStoreServerChange);

    /// What `synchronize()` answers; true when not said otherwise.
    void setSynchronizeAnswer(bool answer) { synchronizeAnswer_ = answer; }
    [[nodiscard]] std::size_t synchronizeCount() const { return synchronizeCount_; }

private:
    std::atomic<bool> synchronizeAnswer_ = true;
    std::atomic<std::size_t> synchronizeCount_ = 0;
};

}  // namespace quendokit::testing
