#include "apps/quendo-cloudd/backup.hpp"

#include <cstdlib>
#include <ctime>
#include <utility>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/tar_writer.hpp"
#include "apps/quendo-cloudd/user_store.hpp"

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;
using quendo::failureOf;

/// A folder for copies, beside what they are of, since they may be as large. Gone with this object.
class CopyFolder {
public:
    explicit CopyFolder(const std::filesystem::path& dataFolder) {
        std::string name = (dataFolder / "backup-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) {
            path_ = name;
        }
    }
    CopyFolder(const CopyFolder&) = delete;
    CopyFolder& operator=(const CopyFolder&) = delete;
    ~CopyFolder() {
        std::error_code ignored;
        if (!path_.empty()) {
            std::filesystem::remove_all(path_, ignored);
        }
    }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

/// Lets the file stand for itself, without a log beside it.
std::optional<Error> foldLog(Connection& connection) {
    return connection.execute("PRAGMA journal_mode = DELETE");
}

/// Copies a user's file, gives every feed in the copy a new identity, and sees that it is sound.
std::optional<Error> copyUser(Connection& connection, const std::filesystem::path& copy) {
    std::error_code ignored;
    std::filesystem::remove(copy, ignored);
    if (auto failure = copyDatabase(connection, copy)) {
        return failure;
    }
    auto copied = openDatabase(copy, userKind, IfMissing::refuse);
    if (!copied) {
        return copied.error();
    }
    if (auto failure = checkIntegrity(*copied.value())) {
        return failure;
    }
    if (auto failure = foldLog(*copied.value())) {
        return failure;
    }
    return copied.value()->execute(
        "BEGIN IMMEDIATE; UPDATE zone SET identity = lower(hex(randomblob(16))); "
        "UPDATE scope SET identity = lower(hex(randomblob(16))); COMMIT");
}

/// Adds the users of a copy of the accounts. One whose file has gone meanwhile goes from that copy too.
std::optional<Failure> addUsers(TarWriter& archive, Accounts& accounts, const std::filesystem::path& dataFolder,
                                const std::filesystem::path& copy, std::int64_t now) {
    auto users = accounts.users();
    if (!users) {
        return failureOf(users.error());
    }
    for (const UserListing& user : users.value()) {
        const std::filesystem::path source = userFile(dataFolder, user.id);
        auto store = openDatabase(source, userKind, IfMissing::refuse);
        std::error_code unknown;
        if (!store && !std::filesystem::exists(source, unknown)) {
            if (auto failure = accounts.removeUser(user.id)) {
                return failureOf(*failure);
            }
            continue;
        }
        if (!store) {
            return failureOf(store.error());
        }
        if (auto failure = copyUser(*store.value(), copy)) {
            return failureOf(*failure);
        }
        if (auto failure = archive.add("users/" + source.filename().string(), copy, now)) {
            return failure;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Failure> backUp(const std::filesystem::path& dataFolder, const std::filesystem::path& file) {
    auto archive = TarWriter::create(file);
    if (!archive) {
        return archive.failure();
    }
    auto accounts = Accounts::open(dataFolder);
    if (!accounts) {
        return failureOf(accounts.error());
    }
    const CopyFolder copies(dataFolder);
    if (copies.path().empty()) {
        return Failure{ExitCode::notDone, dataFolder.string() +
                                              ": no folder for copies can be made in it; make it "
                                              "writable for you, and make room"};
    }
    const std::int64_t now = std::time(nullptr);
    if (auto failure = archive.value().add("token.key", keyFile(dataFolder), now)) {
        return failure;
    }
    if (auto failure = archive.value().addFolder("users/", now)) {
        return failure;
    }
    const std::filesystem::path accountsCopy = copies.path() / "accounts";
    if (auto failure = copyDatabase(accounts.value().connection(), accountsCopy)) {
        return failureOf(*failure);
    }
    {
        auto copied = Accounts::openCopy(accountsCopy, accounts.value().key());
        if (!copied) {
            return failureOf(copied.error());
        }
        if (auto failure = addUsers(archive.value(), copied.value(), dataFolder, copies.path() / "user", now)) {
            return failure;
        }
        if (auto failure = foldLog(copied.value().connection())) {
            return failureOf(*failure);
        }
    }
    if (auto failure = archive.value().add("accounts.sqlite", accountsCopy, now)) {
        return failure;
    }
    return archive.value().finish();
}

}  // namespace cloudd
