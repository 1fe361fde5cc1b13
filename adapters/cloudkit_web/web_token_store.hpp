#pragma once
/// \file
/// `WebTokenStore`, where the token that stands for the person is kept between requests.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {

/// Keeps one token. Any thread.
class QUENDOKIT_EXPORT WebTokenStore {
public:
    WebTokenStore() = default;
    WebTokenStore(const WebTokenStore&) = delete;
    WebTokenStore& operator=(const WebTokenStore&) = delete;
    virtual ~WebTokenStore() = default;

    /// Absent when nobody is signed in.
    [[nodiscard]] virtual std::optional<std::string> webToken() const = 0;

    /// Puts `token` in place of the earlier one, which the server may refuse from now on. Durable when it returns.
    virtual void keep(const std::string& token) = 0;
};

/// The key under which `SettingsWebTokenStore` keeps its token. Stored format.
inline constexpr std::string_view webTokenKey = "cloud.web-token";

/// Keeps the token in settings. Give it settings of its own in a file that only the person may read.
class QUENDOKIT_EXPORT SettingsWebTokenStore final : public WebTokenStore {
public:
    explicit SettingsWebTokenStore(std::shared_ptr<UserDefaults> settings);

    [[nodiscard]] std::optional<std::string> webToken() const override;
    void keep(const std::string& token) override;

private:
    const std::shared_ptr<UserDefaults> settings_;
};

}  // namespace quendokit
