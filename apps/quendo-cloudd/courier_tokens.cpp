#include "apps/quendo-cloudd/courier_tokens.hpp"

#include <sqlite3.h>
#include <utility>

namespace cloudd {

Result<std::string> CourierTokens::create(const Device& device, const Scope& scope, std::string_view client,
                                          std::int64_t now) {
    Connection& connection = accounts_.connection();
    std::string token = randomHex(32);
    Transaction transaction(connection);
    if (auto failure = transaction.begin()) {
        return *std::move(failure);
    }
    if (auto failure = change(connection,
                              "INSERT INTO courier (token, device, generation, container, environment, client, "
                              "created, registered) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, 0)",
                              accounts_.key().hash(token), device.id, device.generation, scope.container,
                              scope.environment, client, now)) {
        return *std::move(failure);
    }
    if (auto failure = change(connection,
                              "DELETE FROM courier WHERE device = ?1 AND (created < ?2 OR id NOT IN "
                              "(SELECT id FROM courier WHERE device = ?1 ORDER BY id DESC LIMIT ?3))",
                              device.id, now - lifetimeSeconds, mostPerDevice)) {
        return *std::move(failure);
    }
    if (auto failure = transaction.commit()) {
        return *std::move(failure);
    }
    return token;
}

Result<bool> CourierTokens::registerToken(const Device& device, std::string_view token, std::string_view client,
                                          std::int64_t now) {
    Connection& connection = accounts_.connection();
    if (auto failure =
            change(connection,
                   "UPDATE courier SET registered = 1, client = CASE WHEN ?4 = '' THEN client ELSE ?4 END "
                   "WHERE token = ?1 AND device = ?2 AND generation = ?3 AND created >= ?5",
                   accounts_.key().hash(token), device.id, device.generation, client, now - lifetimeSeconds)) {
        return *std::move(failure);
    }
    return sqlite3_changes(connection.handle()) == 1;
}

Result<std::optional<std::int64_t>> CourierTokens::listener(std::string_view token, std::int64_t now) {
    std::optional<std::int64_t> found;
    if (auto failure = forEach(
            accounts_.connection(),
            "SELECT courier.id FROM courier JOIN device ON device.id = courier.device AND "
            "device.generation = courier.generation WHERE courier.token = ?1 AND courier.created >= ?2",
            [&](const auto& row) { found = row.integer(0); }, accounts_.key().hash(token), now - lifetimeSeconds)) {
        return *std::move(failure);
    }
    return found;
}

Result<std::set<std::int64_t>> CourierTokens::everyone() {
    std::set<std::int64_t> found;
    if (auto failure = forEach(accounts_.connection(), "SELECT id FROM courier",
                               [&](const auto& row) { found.insert(row.integer(0)); })) {
        return *std::move(failure);
    }
    return found;
}

Result<std::vector<Listener>> CourierTokens::listeners(std::string_view user, const Scope& scope, std::int64_t now) {
    std::vector<Listener> found;
    if (auto failure = forEach(
            accounts_.connection(),
            "SELECT courier.id, courier.device, courier.client FROM device JOIN courier ON courier.device = device.id "
            "AND courier.generation = device.generation WHERE device.user = ?1 AND courier.container = ?2 AND "
            "courier.environment = ?3 AND courier.registered = 1 AND courier.created >= ?4",
            [&](const auto& row) { found.push_back({row.integer(0), row.integer(1), std::string(row.text(2))}); }, user,
            scope.container, scope.environment, now - lifetimeSeconds)) {
        return *std::move(failure);
    }
    return found;
}

}  // namespace cloudd
