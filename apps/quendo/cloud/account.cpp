#include "apps/quendo/cloud/account.hpp"

#include <mutex>
#include <string_view>
#include <utility>
#include <variant>

#include "quendokit/platform/uuid.hpp"

namespace quendo {
namespace {

// Stored format.
constexpr std::string_view urlKey = "cloud.url";
constexpr std::string_view containerKey = "cloud.container";
constexpr std::string_view environmentKey = "cloud.environment";
constexpr std::string_view apiTokenKey = "cloud.api-token";
constexpr std::string_view clientKey = "cloud.client-id";

}  // namespace

struct AccountFile::Failures {
    std::mutex mutex;
    std::optional<quendokit::Error> first;

    void note(const quendokit::Error& error) {
        const std::lock_guard lock(mutex);
        if (!first) {
            first = error;
        }
    }
};

AccountFile::AccountFile(const std::filesystem::path& file)
    : failures_(std::make_shared<Failures>()),
      settings_(std::make_shared<quendokit::FileUserDefaults>(quendokit::FileUserDefaultsOptions{
          file, std::chrono::seconds(5),
          [failures = failures_](const quendokit::Error& error) { failures->note(error); }})) {}

std::optional<quendokit::WebAccount> AccountFile::account() const {
    const auto text = [&](std::string_view key) {
        const auto value = settings_->object(key);
        const auto* found = value ? std::get_if<std::string>(&*value) : nullptr;
        return found != nullptr ? *found : std::string();
    };
    quendokit::WebAccount account;
    account.url = text(urlKey);
    account.container = text(containerKey);
    account.environment = text(environmentKey);
    account.apiToken = text(apiTokenKey);
    account.clientID = text(clientKey);
    const bool isWhole = !account.url.empty() && !account.container.empty();
    return isWhole ? std::optional(std::move(account)) : std::nullopt;
}

void AccountFile::remember(const quendokit::WebAccount& account, const std::string& webToken) {
    // The address comes last: without it there is no account.
    settings_->remove(urlKey);
    settings_->set(containerKey, account.container);
    settings_->set(environmentKey, account.environment);
    settings_->set(apiTokenKey, account.apiToken);
    settings_->set(clientKey, account.clientID.empty() ? quendokit::makeUUID() : account.clientID);
    settings_->set(quendokit::webTokenKey, webToken);
    settings_->set(urlKey, account.url);
}

void AccountFile::forget() {
    // Without an address there is no account. The file's backup is what it was before the last change: without tokens.
    for (const std::string_view key :
         {urlKey, quendokit::webTokenKey, apiTokenKey, containerKey, environmentKey, clientKey}) {
        settings_->remove(key);
    }
}

std::shared_ptr<quendokit::WebTokenStore> AccountFile::tokens() const {
    return std::make_shared<quendokit::SettingsWebTokenStore>(settings_);
}

std::optional<Failure> AccountFile::takeFailure() {
    const std::lock_guard lock(failures_->mutex);
    const auto error = std::exchange(failures_->first, std::nullopt);
    return error ? std::optional(failureOf(*error)) : std::nullopt;
}

}  // namespace quendo
