#pragma once
/// \file
/// Users, their devices and the tokens by which they are known.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo-cloudd/database.hpp"
#include "apps/quendo-cloudd/secrets.hpp"

namespace cloudd {

/// What a person is told once.
struct DeviceTokens {
    std::string api;
    std::string web;
};

/// Who a request comes from.
struct Device {
    std::int64_t id = 0;
    /// Grows with every rotation by hand: what was given to the device before is void.
    std::int64_t generation = 0;
    /// The user's identifier, 32 hexadecimal digits made by the server; names the user's file.
    std::string user;
};

/// A device that showed a good web token.
struct SignedIn {
    Device device;
    /// For its next request; empty when that could not be written down, and the shown one stays good.
    std::string nextWebToken;
};

struct UserListing {
    std::string id;
    std::string name;
    /// Without the one that came with the user.
    std::vector<std::string> devices;
};

/// The file of accounts. Other processes may change it at any time; nothing of it is kept in memory, so that each
/// change holds from the next request on. One thread.
class Accounts {
public:
    /// How long a web token lives on after its successor was used.
    static constexpr std::int64_t graceSeconds = 300;

    [[nodiscard]] static Result<Accounts> open(const std::filesystem::path& dataFolder,
                                               const char* fileSystem = defaultFileSystem);
    /// A copy of a data folder's accounts.
    [[nodiscard]] static Result<Accounts> openCopy(const std::filesystem::path& copy, const TokenKey& key);

    /// Absent when there is a user of that name already. `id` is 32 fresh hexadecimal digits.
    [[nodiscard]] Result<std::optional<DeviceTokens>> addUser(std::string_view name, std::string_view id);
    /// The user's id; absent when there is none of that name.
    [[nodiscard]] Result<std::optional<std::string>> userId(std::string_view name);
    [[nodiscard]] Result<std::vector<UserListing>> users();
    [[nodiscard]] std::optional<Error> removeUser(std::string_view id);

    /// Absent when the user has a device of that name already.
    [[nodiscard]] Result<std::optional<DeviceTokens>> addDevice(std::string_view userId, std::string_view device);
    /// New tokens for a device ("" is the one that came with the user); the old ones stop at once. Absent when there is
    /// no such device.
    [[nodiscard]] Result<std::optional<DeviceTokens>> rotate(std::string_view userId, std::string_view device);

    /// The user whom an API token belongs to; absent for an unknown one.
    [[nodiscard]] Result<std::optional<std::string>> userOfApiToken(std::string_view token);
    /// The device of a web token, at the moment `now` in seconds since 1970; absent for one that is unknown or void.
    /// The successor is durable before this returns.
    [[nodiscard]] Result<std::optional<SignedIn>> signIn(std::string_view webToken, std::int64_t now);

    [[nodiscard]] const TokenKey& key() const noexcept { return key_; }
    [[nodiscard]] Connection& connection() noexcept { return *connection_; }

private:
    Accounts(TokenKey key, std::unique_ptr<Connection> connection)
        : key_(std::move(key)), connection_(std::move(connection)) {}

    [[nodiscard]] Result<bool> insertDevice(std::string_view userId, std::string_view name, const DeviceTokens& tokens);

    TokenKey key_;
    std::unique_ptr<Connection> connection_;
};

/// The file of accounts in a data folder, the key's, and a user's. `id` comes from `Accounts`, never from a request.
[[nodiscard]] std::filesystem::path accountsFile(const std::filesystem::path& dataFolder);
[[nodiscard]] std::filesystem::path keyFile(const std::filesystem::path& dataFolder);
[[nodiscard]] std::filesystem::path userFile(const std::filesystem::path& dataFolder, std::string_view id);

extern const DatabaseKind accountsKind;

}  // namespace cloudd
