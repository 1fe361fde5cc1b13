#pragma once
/// \file
/// `NSUbiquitousKeyValueStore`, the settings that all devices of the person share.

#include <cstdint>
#include <optional>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit {

/// Posted to the notification centre after values have changed from outside, on any thread. Its user information holds
/// the reason, an integer, under `NSUbiquitousKeyValueStoreChangeReasonKey`.
inline constexpr std::string_view NSUbiquitousKeyValueStoreDidChangeExternallyNotification =
    "NSUbiquitousKeyValueStoreDidChangeExternallyNotification";
inline constexpr std::string_view NSUbiquitousKeyValueStoreChangeReasonKey = "NSUbiquitousKeyValueStoreChangeReasonKey";

/// The reasons. Another value may come.
inline constexpr std::int64_t NSUbiquitousKeyValueStoreServerChange = 0;
inline constexpr std::int64_t NSUbiquitousKeyValueStoreInitialSyncChange = 1;
inline constexpr std::int64_t NSUbiquitousKeyValueStoreQuotaViolationChange = 2;
inline constexpr std::int64_t NSUbiquitousKeyValueStoreAccountChange = 3;

/// Values under keys in the person's cloud. Reads and writes go to a copy on this device; the implementation carries
/// them to and from the cloud in its own time. A change made here posts no notification here. Any thread.
class QUENDOKIT_EXPORT NSUbiquitousKeyValueStore {
public:
    NSUbiquitousKeyValueStore() = default;
    NSUbiquitousKeyValueStore(const NSUbiquitousKeyValueStore&) = delete;
    NSUbiquitousKeyValueStore& operator=(const NSUbiquitousKeyValueStore&) = delete;
    virtual ~NSUbiquitousKeyValueStore() = default;

    /// The installed store of the host application.
    [[nodiscard]] static NSUbiquitousKeyValueStore& defaultStore();

    /// What stands under `key`; absent when nothing does.
    [[nodiscard]] virtual std::optional<PropertyValue> object(std::string_view key) const = 0;

    /// Puts `value` under `key`, in place of what was there.
    virtual void set(std::string_view key, PropertyValue value) = 0;

    /// Removes what stands under `key`, if anything does.
    virtual void remove(std::string_view key) = 0;

    /// Brings the copy in memory and the one on disk together and asks for the cloud's changes soon. False when there
    /// is nothing to synchronise with.
    virtual bool synchronize() = 0;
};

}  // namespace quendokit
