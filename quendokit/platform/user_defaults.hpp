#pragma once
/// \file
/// `UserDefaults`, the person's settings on this device.

#include <optional>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit {

/// Values under keys, kept from one run of the program to the next. Any thread; a change is seen by every later read of
/// this process.
///
/// There are no errors here. What cannot be kept is still answered for the rest of this process, and the implementation
/// tells its host by ways of its own.
class QUENDOKIT_EXPORT UserDefaults {
public:
    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults() = default;

    /// The installed store of the host application.
    [[nodiscard]] static UserDefaults& standard();

    /// What stands under `key`; absent when nothing does, or something that no `PropertyValue` holds.
    [[nodiscard]] virtual std::optional<PropertyValue> object(std::string_view key) const = 0;

    /// Puts `value` under `key`, in place of what was there.
    virtual void set(std::string_view key, PropertyValue value) = 0;

    /// Removes what stands under `key`, if anything does.
    virtual void remove(std::string_view key) = 0;
};

}  // namespace quendokit
