#pragma once
/// \file
/// The account in the cloud that a home is connected to.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "adapters/cloudkit_web/web_session.hpp"
#include "adapters/files/file_user_defaults.hpp"
#include "apps/quendo/failure.hpp"

namespace quendo {

/// Remembers the account and the person's token in a file (0600) of its own. What could not be kept or read is told by
/// `takeFailure`. One thread, but for what the token is kept by.
class AccountFile {
public:
    explicit AccountFile(const std::filesystem::path& file);

    /// Absent when there is no account.
    [[nodiscard]] std::optional<quendokit::WebAccount> account() const;
    /// Puts the account and its token in place of what was there, with a name of its own for this installation.
    void remember(const quendokit::WebAccount& account, const std::string& webToken);
    void forget();

    /// Where the token is kept from now on; the file outlives it.
    [[nodiscard]] std::shared_ptr<quendokit::WebTokenStore> tokens() const;

    /// What went wrong with the file since the last call.
    [[nodiscard]] std::optional<Failure> takeFailure();

private:
    struct Failures;

    const std::shared_ptr<Failures> failures_;
    const std::shared_ptr<quendokit::FileUserDefaults> settings_;
};

}  // namespace quendo
