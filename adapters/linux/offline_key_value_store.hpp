#pragma once
/// \file
/// `OfflineKeyValueStore`, the shared settings of a person without a cloud.

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"

namespace quendokit {

/// Keeps values for the life of the process and takes them nowhere: the settings themselves stand in `UserDefaults`.
/// Any thread.
class QUENDOKIT_EXPORT OfflineKeyValueStore final : public NSUbiquitousKeyValueStore {
public:
    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;
    /// False: there is no cloud.
    bool synchronize() override { return false; }

private:
    mutable std::mutex mutex_;
    std::map<std::string, PropertyValue, std::less<>> values_;
};

}  // namespace quendokit
