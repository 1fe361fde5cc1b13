#include <set>
#include <utility>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/backup.hpp"
#include "apps/quendo-cloudd/user_store.hpp"

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;
using quendo::failureOf;
using quendo::Outcome;

Finding findingOf(std::string name, const std::optional<Error>& error) {
    if (!error) {
        return {std::move(name), true, {}, ExitCode::done};
    }
    Failure failure = failureOf(*error);
    return {std::move(name), false, std::move(failure.line), failure.code};
}

/// What the tables of one user must agree on, beyond what SQLite checks.
std::optional<Error> checkCounts(Connection& connection) {
    auto wrong = connection.integer(
        "SELECT count(*) FROM zone WHERE live <> (SELECT count(*) FROM record WHERE zone = zone.id AND deleted = 0) OR "
        "sequence < (SELECT coalesce(max(sequence), 0) FROM record WHERE zone = zone.id)");
    if (!wrong) {
        return wrong.error();
    }
    if (wrong.value() != 0) {
        return quendokit::Error{"Realm", 2,
                                connection.file() + ": zones and records do not fit each other; restore a backup"};
    }
    return std::nullopt;
}

Finding checkUser(const std::filesystem::path& dataFolder, const UserListing& user) {
    const std::filesystem::path file = userFile(dataFolder, user.id);
    std::string name = "users/" + file.filename().string();
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown)) {
        return {std::move(name), false, "the file of \"" + user.name + "\" is missing; restore it from a backup",
                ExitCode::damaged};
    }
    auto connection = openDatabase(file, userKind, IfMissing::refuse);
    if (!connection) {
        return findingOf(std::move(name), connection.error());
    }
    auto failure = checkIntegrity(*connection.value());
    return findingOf(std::move(name), failure ? failure : checkCounts(*connection.value()));
}

}  // namespace

Outcome<std::vector<Finding>> check(const std::filesystem::path& dataFolder) {
    std::vector<Finding> findings;
    auto accounts = Accounts::open(dataFolder);
    if (!accounts) {
        findings.push_back(findingOf("accounts.sqlite", accounts.error()));
        return findings;
    }
    findings.push_back(findingOf("accounts.sqlite", checkIntegrity(accounts.value().connection())));
    auto users = accounts.value().users();
    if (!users) {
        findings.push_back(findingOf("accounts.sqlite", users.error()));
        return findings;
    }
    std::set<std::string> known;
    for (const UserListing& user : users.value()) {
        findings.push_back(checkUser(dataFolder, user));
        known.insert(userFile(dataFolder, user.id).filename().string());
    }
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dataFolder / "users", error)) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension() == ".sqlite" && !known.contains(name)) {
            findings.push_back(
                {"users/" + name, false, "it belongs to no user; delete it when nobody misses it", ExitCode::notDone});
        }
    }
    return findings;
}

}  // namespace cloudd
