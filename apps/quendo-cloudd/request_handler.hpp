#pragma once
/// \file
/// From a request to its answer, without a socket in sight.

#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/courier.hpp"
#include "apps/quendo-cloudd/courier_tokens.hpp"
#include "apps/quendo-cloudd/rate_limits.hpp"
#include "apps/quendo-cloudd/target.hpp"
#include "apps/quendo-cloudd/user_store.hpp"
#include "apps/quendo-cloudd/wire.hpp"
#include "quendokit/platform/clock.hpp"

namespace cloudd {

/// The client waits for a notification of this listener: to be answered when one comes, or with an empty body when none
/// comes for a while.
struct Parked {
    std::int64_t listener = 0;
};

/// Answers requests of all users over one data folder. Who a request comes from is what its tokens say, and nothing
/// else in it reaches another user's file. One thread.
class RequestHandler {
public:
    /// `log` is called with one line for a person about what a client is not told. `clock` must outlive the handler.
    [[nodiscard]] static Result<std::unique_ptr<RequestHandler>> open(const std::filesystem::path& dataFolder,
                                                                      const quendokit::Clock& clock,
                                                                      std::function<void(const std::string&)> log,
                                                                      const char* fileSystem = defaultFileSystem);

    [[nodiscard]] std::variant<Answer, Parked> handle(const Request& request);

    /// The answer to a parked request, from the listener's queue; absent while there is nothing.
    [[nodiscard]] std::optional<Answer> takeNotification(std::int64_t listener);
    /// The listeners that have got something since the last call.
    [[nodiscard]] std::set<std::int64_t> takeWoken() { return courier_.takeWoken(); }

    /// Closes the files of users who are gone, and drops what waits for listeners who are.
    void tidy();

private:
    struct OpenStore {
        std::string user;
        std::unique_ptr<UserStore> store;
    };

    RequestHandler(std::filesystem::path dataFolder, const quendokit::Clock& clock,
                   std::function<void(const std::string&)> log, const char* fileSystem, Accounts accounts);

    [[nodiscard]] Answer answerOperation(const Request& request, const Target& target);
    [[nodiscard]] std::variant<Answer, Parked> answerCourier(const Request& request, const Target& target);
    /// The device behind the request's tokens.
    [[nodiscard]] Reply<SignedIn> signIn(const Request& request, const Target& target, double now);
    /// How long who shows `token` from there has to wait; absent when it is listened to.
    [[nodiscard]] std::optional<double> brake(const Request& request, const std::string& token, double now) const;
    /// Notes a wrong token; false when it is one that came from there before, which is no guess.
    bool noteWrongToken(const Request& request, const std::string& token, double now);
    /// For the brake. It holds no token.
    [[nodiscard]] std::string nameOfToken(const Request& request, const std::string& token) const;
    [[nodiscard]] Result<UserStore*> storeOf(const std::string& user);
    /// The answer to a request that failed; the log gets what the client does not.
    [[nodiscard]] Answer refuse(const WireError& error);

    const std::filesystem::path dataFolder_;
    const quendokit::Clock& clock_;
    const std::function<void(const std::string&)> log_;
    const char* const fileSystem_;
    Accounts accounts_;
    CourierTokens courierTokens_;
    Courier courier_;
    RequestRate addressRate_;
    RequestRate userRate_;
    GuessingBrake brake_;
    /// The files in use, the latest first.
    std::list<OpenStore> stores_;
};

}  // namespace cloudd
