#pragma once
/// \file
/// The tokens under which clients wait for changes.

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/user_store.hpp"

namespace cloudd {

/// Someone who waits for changes.
struct Listener {
    std::int64_t id = 0;
    std::int64_t device = 0;
    /// What the client calls itself; empty when it has no name.
    std::string client;
};

/// Kept in the file of accounts, so that they hold over a restart. One thread.
class CourierTokens {
public:
    /// How long a token is good for.
    static constexpr std::int64_t lifetimeSeconds = 43'200;
    /// Of a device that makes more, the oldest is void.
    static constexpr std::int64_t mostPerDevice = 16;

    explicit CourierTokens(Accounts& accounts) : accounts_(accounts) {}

    [[nodiscard]] Result<std::string> create(const Device& device, const Scope& scope, std::string_view client,
                                             std::int64_t now);
    /// From now on the user's changes reach that token. False when the device has no such token, or has it no more.
    [[nodiscard]] Result<bool> registerToken(const Device& device, std::string_view token, std::string_view client,
                                             std::int64_t now);
    /// The listener behind a token, absent when it is unknown or void.
    [[nodiscard]] Result<std::optional<std::int64_t>> listener(std::string_view token, std::int64_t now);
    /// Everyone who holds a token, of any user.
    [[nodiscard]] Result<std::set<std::int64_t>> everyone();
    /// Those that changes of a user in a scope are for.
    [[nodiscard]] Result<std::vector<Listener>> listeners(std::string_view user, const Scope& scope, std::int64_t now);

private:
    Accounts& accounts_;
};

}  // namespace cloudd
