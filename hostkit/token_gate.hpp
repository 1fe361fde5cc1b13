#pragma once
/// \file
/// `TokenGate`, settings whose change token becomes durable only behind the changes that it stands for.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/ck_server_change_token.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {

class DispatchQueue;

/// Passes everything on to other settings, but keeps what is set under one key in memory until everything that stood on
/// the main queue then has run: the changes up to that token are stored before it is. A crash in between forgets the
/// token, and they are downloaded again. Any thread.
class QUENDOKIT_EXPORT TokenGate final : public UserDefaults, public std::enable_shared_from_this<TokenGate> {
    struct PrivateTag {};

public:
    /// Shares both.
    [[nodiscard]] static std::shared_ptr<TokenGate> create(std::shared_ptr<UserDefaults> defaults, std::string key,
                                                           std::shared_ptr<DispatchQueue> mainQueue);
    TokenGate(PrivateTag tag, std::shared_ptr<UserDefaults> defaults, std::string key,
              std::shared_ptr<DispatchQueue> mainQueue);

    /// Called on the main thread before a token is made durable: what it stands for has to be durable by then. False
    /// drops the token. Absent: it is. Set by `GuardedCloudDatabase::setTokenGate`; main thread.
    void setSettle(std::function<bool()> settle);

    /// A write of the database failed: a token that is not durable yet is dropped. Downloads that began with it have to
    /// begin anew; see `GuardedCloudDatabase::writeFailed`.
    void writeFailed();

    /// The token that a process would find that starts now.
    [[nodiscard]] std::optional<CKServerChangeToken> durableToken() const;

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;

private:
    void makeDurable(std::uint64_t turn);

    const std::shared_ptr<UserDefaults> defaults_;
    const std::string key_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    std::function<bool()> settle_;
    /// Recursive: settings that cannot be written may tell so at once, which ends in `writeFailed`.
    mutable std::recursive_mutex mutex_;
    /// What was set last and is not durable.
    std::optional<PropertyValue> waiting_;
    /// Which of the values that were set it is.
    std::uint64_t turn_ = 0;
};

}  // namespace quendokit
