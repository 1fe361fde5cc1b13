#pragma once
/// \file
/// `SQLiteRealmProvider`, which keeps object databases in SQLite files.

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/realm.hpp"

namespace quendokit {

/// How this provider keeps its files. Plain value.
struct SQLiteRealmOptions {
    /// The file that a configuration without a `fileURL` opens.
    std::filesystem::path defaultFile;
    /// How long an operation waits for another process to finish its write.
    std::chrono::milliseconds busyTimeout = std::chrono::seconds(5);
    /// Hears of every write and read that fails, on the realm's thread, before the operation returns. May be empty. It
    /// must not use the realm.
    std::function<void(const Error&)> onFailure;
    /// The SQLite file system to use by name; empty for the default one.
    std::string fileSystem;
};

/// Opens object databases in SQLite files: table and columns are named as the class and its properties.
///
/// The file belongs to one user (mode 0600; a laxer mode is tightened when it is opened) and its folder is made (0700)
/// when there is none. A file of another user, or one behind a symbolic link, is refused. Opening checks the file's
/// whole structure, which takes about 0.2 ms for a thousand reminders. A write is durable when it returns: it survives
/// the end of the process and the loss of power.
///
/// An older schema version is migrated in one transaction, after the file was copied to "NAME.v2-backup" ("-2", "-3" …
/// behind it when there is such a copy). Errors are those of `RealmErrorCode`; each names the file and what to do.
class QUENDOKIT_EXPORT SQLiteRealmProvider final : public RealmProvider {
public:
    explicit SQLiteRealmProvider(SQLiteRealmOptions options);

    [[nodiscard]] Result<std::shared_ptr<Realm>> open(const Realm::Configuration& configuration) override;

    /// Looks over the file that `configuration` names, more thoroughly than `open` does, and changes nothing. Answers
    /// the file's schema version; absent when there is no file or an empty one.
    [[nodiscard]] Result<std::optional<std::uint64_t>> examine(const Realm::Configuration& configuration) const;

private:
    [[nodiscard]] std::filesystem::path fileOf(const Realm::Configuration& configuration) const;

    const SQLiteRealmOptions options_;
};

}  // namespace quendokit
