#pragma once
/// \file
/// `CloudKeyValueStore`, the settings that all devices of the person share, in their database in the cloud.

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {

/// The zone of the settings, apart from all else, and their records' type and fields. Stored format.
inline constexpr std::string_view keyValueZoneName = "KeyValueStore";
inline constexpr std::string_view keyValueRecordType = "KeyValue";
inline constexpr std::string_view keyValueKindField = "kind";
inline constexpr std::string_view keyValueContentField = "value";

/// The key under which the copy of this device stands. Stored format.
inline constexpr std::string_view keyValueCopyKey = "cloud.key-values";

/// Keeps a copy on this device that is durable as soon as a call returns, with what is not sent yet. Each change, and
/// `synchronize`, begins a pass: what is unsent goes up, then what has changed elsewhere comes, and is posted. Of two
/// devices that change one key, the last to reach the cloud wins. A pass that fails is not repeated by itself: the host
/// synchronises when the network is back, and when it hears of changes in the cloud. A key of more than 186 bytes stays
/// on this device. Any thread.
class QUENDOKIT_EXPORT CloudKeyValueStore final : public NSUbiquitousKeyValueStore {
public:
    /// Told when a pass has ended and none follows it at once, after what came was posted. On a thread of the
    /// database's. May be empty.
    using PassEnded = std::function<void()>;

    /// `copy` holds the copy and nothing that others change.
    CloudKeyValueStore(std::shared_ptr<CKDatabase> database, std::shared_ptr<UserDefaults> copy,
                       PassEnded passEnded = nullptr);
    ~CloudKeyValueStore() override;

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;
    bool synchronize() override;

    /// Forgets what came from the cloud and what was sent there, for a device that leaves it; what is unsent stays.
    /// What is under way ends as it would have.
    void leaveCloud();

    /// Whether no pass is under way or about to begin.
    [[nodiscard]] bool isIdle() const;
    /// Why the last pass that has ended did so early; absent when it did not, and when there was none.
    [[nodiscard]] std::optional<Error> lastError() const;

private:
    class State;
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit
