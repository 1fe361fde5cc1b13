#include "apps/quendo-cloudd/accounts.hpp"

#include <sqlite3.h>
#include <utility>

namespace cloudd {
namespace {

DeviceTokens freshTokens() {
    return {.api = randomHex(32), .web = randomHex(32)};
}

bool isConstraint(const Connection& connection) {
    return (sqlite3_errcode(connection.handle()) & 0xFF) == SQLITE_CONSTRAINT;
}

}  // namespace

const DatabaseKind accountsKind{0x51434C41, 1, R"(
CREATE TABLE user (
    id TEXT PRIMARY KEY NOT NULL,
    name TEXT NOT NULL UNIQUE
) STRICT;
CREATE TABLE device (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    user TEXT NOT NULL,
    name TEXT NOT NULL,
    generation INTEGER NOT NULL,
    api TEXT NOT NULL UNIQUE,
    current TEXT NOT NULL UNIQUE,
    next TEXT NOT NULL,
    previous TEXT NOT NULL,
    previous_until INTEGER NOT NULL,
    UNIQUE (user, name)
) STRICT;
CREATE INDEX device_by_next ON device (next);
CREATE INDEX device_by_previous ON device (previous);
CREATE TABLE courier (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    token TEXT NOT NULL UNIQUE,
    device INTEGER NOT NULL,
    generation INTEGER NOT NULL,
    container TEXT NOT NULL,
    environment TEXT NOT NULL,
    client TEXT NOT NULL,
    created INTEGER NOT NULL,
    registered INTEGER NOT NULL
) STRICT;
CREATE INDEX courier_by_device ON courier (device);
)"};

std::filesystem::path accountsFile(const std::filesystem::path& dataFolder) {
    return dataFolder / "accounts.sqlite";
}

std::filesystem::path keyFile(const std::filesystem::path& dataFolder) {
    return dataFolder / "token.key";
}

std::filesystem::path userFile(const std::filesystem::path& dataFolder, std::string_view id) {
    return dataFolder / "users" / (std::string(id) + ".sqlite");
}

Result<Accounts> Accounts::open(const std::filesystem::path& dataFolder, const char* fileSystem) {
    auto key = TokenKey::load(keyFile(dataFolder));
    if (!key) {
        return key.error();
    }
    auto connection = openDatabase(accountsFile(dataFolder), accountsKind, IfMissing::create, fileSystem);
    if (!connection) {
        return connection.error();
    }
    return Accounts(std::move(key).value(), std::move(connection).value());
}

Result<Accounts> Accounts::openCopy(const std::filesystem::path& copy, const TokenKey& key) {
    auto connection = openDatabase(copy, accountsKind, IfMissing::refuse);
    if (!connection) {
        return connection.error();
    }
    return Accounts(key, std::move(connection).value());
}

Result<bool> Accounts::insertDevice(std::string_view userId, std::string_view name, const DeviceTokens& tokens) {
    const StatementUse insert(
        *connection_,
        "INSERT INTO device (user, name, generation, api, current, next, previous, previous_until)"
        " VALUES (?1, ?2, 1, ?3, ?4, '', '', 0)");
    if (!insert) {
        return connection_->lastError();
    }
    const std::string api = key_.hash(tokens.api);
    const std::string web = key_.hash(tokens.web);
    insert->bind(1, userId);
    insert->bind(2, name);
    insert->bind(3, std::string_view(api));
    insert->bind(4, std::string_view(web));
    if (insert->step() == Step::failed) {
        return isConstraint(*connection_) ? Result<bool>(false) : Result<bool>(connection_->lastError());
    }
    return true;
}

Result<std::optional<DeviceTokens>> Accounts::addUser(std::string_view name, std::string_view id) {
    Transaction transaction(*connection_);
    if (auto failure = transaction.begin()) {
        return *std::move(failure);
    }
    {
        const StatementUse insert(*connection_, "INSERT INTO user (id, name) VALUES (?1, ?2)");
        if (!insert) {
            return connection_->lastError();
        }
        insert->bind(1, id);
        insert->bind(2, name);
        if (insert->step() == Step::failed) {
            return isConstraint(*connection_) ? Result<std::optional<DeviceTokens>>(std::nullopt)
                                              : Result<std::optional<DeviceTokens>>(connection_->lastError());
        }
    }
    DeviceTokens tokens = freshTokens();
    auto added = insertDevice(id, "", tokens);
    if (!added) {
        return added.error();
    }
    if (auto failure = transaction.commit()) {
        return *std::move(failure);
    }
    return std::optional(std::move(tokens));
}

Result<std::optional<std::string>> Accounts::userId(std::string_view name) {
    const StatementUse select(*connection_, "SELECT id FROM user WHERE name = ?1");
    if (!select) {
        return connection_->lastError();
    }
    select->bind(1, name);
    switch (select->step()) {
        case Step::row:
            return std::optional(std::string(select->text(0)));
        case Step::done:
            return std::optional<std::string>();
        case Step::failed:
            break;
    }
    return connection_->lastError();
}

Result<std::vector<UserListing>> Accounts::users() {
    const StatementUse select(*connection_,
                              "SELECT user.id, user.name, device.name FROM user JOIN device ON device.user = user.id "
                              "ORDER BY user.name, device.name");
    if (!select) {
        return connection_->lastError();
    }
    std::vector<UserListing> listing;
    Step step = select->step();
    for (; step == Step::row; step = select->step()) {
        if (listing.empty() || listing.back().id != select->text(0)) {
            listing.push_back({std::string(select->text(0)), std::string(select->text(1)), {}});
        }
        if (!select->text(2).empty()) {
            listing.back().devices.emplace_back(select->text(2));
        }
    }
    if (step == Step::failed) {
        return connection_->lastError();
    }
    return listing;
}

std::optional<Error> Accounts::removeUser(std::string_view id) {
    Transaction transaction(*connection_);
    if (auto failure = transaction.begin()) {
        return failure;
    }
    for (const char* sql : {"DELETE FROM courier WHERE device IN (SELECT id FROM device WHERE user = ?1)",
                            "DELETE FROM device WHERE user = ?1", "DELETE FROM user WHERE id = ?1"}) {
        const StatementUse remove(*connection_, sql);
        if (!remove) {
            return connection_->lastError();
        }
        remove->bind(1, id);
        if (remove->step() == Step::failed) {
            return connection_->lastError();
        }
    }
    return transaction.commit();
}

Result<std::optional<DeviceTokens>> Accounts::addDevice(std::string_view userId, std::string_view device) {
    DeviceTokens tokens = freshTokens();
    auto added = insertDevice(userId, device, tokens);
    if (!added) {
        return added.error();
    }
    return added.value() ? std::optional(std::move(tokens)) : std::nullopt;
}

Result<std::optional<DeviceTokens>> Accounts::rotate(std::string_view userId, std::string_view device) {
    const StatementUse update(*connection_,
                              "UPDATE device SET generation = generation + 1, api = ?3, current = ?4, next = '', "
                              "previous = '', previous_until = 0 WHERE user = ?1 AND name = ?2");
    if (!update) {
        return connection_->lastError();
    }
    DeviceTokens tokens = freshTokens();
    const std::string api = key_.hash(tokens.api);
    const std::string web = key_.hash(tokens.web);
    update->bind(1, userId);
    update->bind(2, device);
    update->bind(3, std::string_view(api));
    update->bind(4, std::string_view(web));
    if (update->step() == Step::failed) {
        return connection_->lastError();
    }
    return sqlite3_changes(connection_->handle()) == 1 ? std::optional(std::move(tokens)) : std::nullopt;
}

Result<std::optional<std::string>> Accounts::userOfApiToken(std::string_view token) {
    const StatementUse select(*connection_, "SELECT user, api FROM device WHERE api = ?1");
    if (!select) {
        return connection_->lastError();
    }
    const std::string hash = key_.hash(token);
    select->bind(1, std::string_view(hash));
    const Step step = select->step();
    if (step == Step::failed) {
        return connection_->lastError();
    }
    if (step == Step::done || !isSameSecret(select->text(1), hash)) {
        return std::optional<std::string>();
    }
    return std::optional(std::string(select->text(0)));
}

Result<std::optional<SignedIn>> Accounts::signIn(std::string_view webToken, std::int64_t now) {
    const std::string hash = key_.hash(webToken);
    SignedIn found;
    bool isNext = false;
    {
        const StatementUse select(*connection_,
                                  "SELECT id, user, generation, current, next, previous, previous_until FROM device "
                                  "WHERE current = ?1 OR next = ?1 OR previous = ?1");
        if (!select) {
            return connection_->lastError();
        }
        select->bind(1, std::string_view(hash));
        const Step step = select->step();
        if (step == Step::failed) {
            return connection_->lastError();
        }
        if (step == Step::done) {
            return std::optional<SignedIn>();
        }
        found.device = {select->integer(0), select->integer(2), std::string(select->text(1))};
        isNext = isSameSecret(select->text(4), hash);
        const bool isCurrent = isSameSecret(select->text(3), hash);
        const bool isPrevious = isSameSecret(select->text(5), hash) && now <= select->integer(6);
        if (!isNext && !isCurrent && !isPrevious) {
            return std::optional<SignedIn>();
        }
        found.nextWebToken = key_.successor(webToken);
        if (!isNext && (isPrevious || !select->text(4).empty())) {
            return std::optional(std::move(found));
        }
    }
    // The presented token is the current one from now on, and its successor is known. Should another process have given
    // the device new tokens meanwhile, nothing matches and nothing changes.
    const StatementUse update(
        *connection_, isNext ? "UPDATE device SET previous = current, previous_until = ?3, current = next, next = ?4 "
                               "WHERE id = ?1 AND next = ?2"
                             : "UPDATE device SET next = ?4 WHERE id = ?1 AND current = ?2");
    if (!update) {
        return connection_->lastError();
    }
    const std::string next = key_.hash(found.nextWebToken);
    update->bind(1, found.device.id);
    update->bind(2, std::string_view(hash));
    if (isNext) {
        update->bind(3, now + graceSeconds);
    }
    update->bind(4, std::string_view(next));
    if (update->step() == Step::failed) {
        // A full disk keeps nobody from reading.
        found.nextWebToken.clear();
        return std::optional(std::move(found));
    }
    if (sqlite3_changes(connection_->handle()) == 0) {
        return std::optional<SignedIn>();
    }
    return std::optional(std::move(found));
}

}  // namespace cloudd
