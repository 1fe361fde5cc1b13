#include "apps/quendo-cloudd/request_handler.hpp"

#include <cmath>
#include <utility>

#include "apps/quendo-cloudd/announcer.hpp"
#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/routes.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr double userRequestsPerSecond = 30;
constexpr double addressRequestsPerSecond = 120;
/// A device that was away for long fetches or sends everything at once.
constexpr double burstSeconds = 4;
constexpr std::size_t mostOpenStores = 64;
constexpr const char* webTokenHeader = "X-Apple-CloudKit-Web-Auth-Token";

std::string parameter(const Target& target, const char* name) {
    const auto found = target.query.find(name);
    return found == target.query.end() ? "" : found->second;
}

Answer jsonAnswer(const json& body) {
    return {200,
            {{"Content-Type", "application/json; charset=UTF-8"}},
            body.dump(-1, ' ', false, json::error_handler_t::replace)};
}

Answer wrongMethod(std::string_view allowed) {
    Answer answer = refusal(badRequest("this operation takes " + std::string(allowed)));
    answer.status = 405;
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}

WireError throttled(double retryAfter) {
    // Whole milliseconds, rounded up, so that who obeys is not too early.
    return {ErrorCode::throttled, "too many requests; wait", std::ceil(retryAfter * 1000) / 1000};
}

Answer signInPage(const Request& request) {
    if (request.method != "GET") {
        return wrongMethod("GET");
    }
    return {200,
            {{"Content-Type", "text/plain; charset=UTF-8"}},
            "Whoever runs this server makes a web token for your device with `quendo-cloudd device add`.\n"
            "Hand it to the program that brought you here.\n"};
}

}  // namespace

RequestHandler::RequestHandler(std::filesystem::path dataFolder, const quendokit::Clock& clock,
                               std::function<void(const std::string&)> log, const char* fileSystem, Accounts accounts)
    : dataFolder_(std::move(dataFolder)),
      clock_(clock),
      log_(std::move(log)),
      fileSystem_(fileSystem),
      accounts_(std::move(accounts)),
      courierTokens_(accounts_),
      addressRate_(addressRequestsPerSecond, addressRequestsPerSecond * burstSeconds),
      userRate_(userRequestsPerSecond, userRequestsPerSecond * burstSeconds) {}

Result<std::unique_ptr<RequestHandler>> RequestHandler::open(const std::filesystem::path& dataFolder,
                                                             const quendokit::Clock& clock,
                                                             std::function<void(const std::string&)> log,
                                                             const char* fileSystem) {
    auto accounts = Accounts::open(dataFolder, fileSystem);
    if (!accounts) {
        return accounts.error();
    }
    return std::unique_ptr<RequestHandler>(
        new RequestHandler(dataFolder, clock, std::move(log), fileSystem, std::move(accounts).value()));
}

std::variant<Answer, Parked> RequestHandler::handle(const Request& request) {
    const double now = clock_.now().timeIntervalSince1970();
    if (const auto wait = addressRate_.take(request.address, now)) {
        return refusal(throttled(*wait));
    }
    const auto target = parseTarget(request.target);
    if (!target) {
        return refusal(badRequest("the target of the request is no path of this server"));
    }
    if (target->path.size() == 1 && target->path[0] == "courier") {
        return answerCourier(request, *target);
    }
    if (target->path.size() == 1 && target->path[0] == "sign-in") {
        return signInPage(request);
    }
    return answerOperation(request, *target);
}

Answer RequestHandler::answerOperation(const Request& request, const Target& target) {
    const double now = clock_.now().timeIntervalSince1970();
    auto route = findRoute(target.path);
    if (!route) {
        return refusal(route.error());
    }
    if (request.method != route.value().method) {
        return wrongMethod(route.value().method);
    }
    auto signedIn = signIn(request, target, now);
    if (!signedIn) {
        return refuse(signedIn.error());
    }
    // Every answer brings the next token, those to refused requests too.
    const auto withToken = [&](Answer answer) {
        if (!signedIn.value().nextWebToken.empty()) {
            answer.headers.emplace_back(webTokenHeader, signedIn.value().nextWebToken);
            answer.headers.emplace_back("Access-Control-Expose-Headers", webTokenHeader);
        }
        return answer;
    };
    const Device& device = signedIn.value().device;
    if (const auto wait = userRate_.take(device.user, now)) {
        return withToken(refusal(throttled(*wait)));
    }
    auto body = readObject(request.body);
    if (!body) {
        return withToken(refusal(body.error()));
    }
    std::string client = parameter(target, "clientId");
    if (client.size() > 255) {
        return withToken(refusal(badRequest("clientId is longer than 255 bytes")));
    }
    auto store = storeOf(device.user);
    if (!store) {
        return withToken(refuse(wireErrorOf(store.error())));
    }
    Call call{.device = device,
              .user = "_" + device.user,
              .scope = route.value().scope,
              .client = std::move(client),
              .origin = request.origin,
              .body = std::move(body).value(),
              .nowMilliseconds = static_cast<std::int64_t>(std::floor(now * 1000)),
              .accounts = accounts_,
              .store = *store.value()};
    auto answer = route.value().run(call);
    if (!answer) {
        return withToken(refuse(answer.error()));
    }
    if (const auto failure = announce(call, courierTokens_, courier_)) {
        log_("notifications are not sent: " + failure->description);
    }
    return withToken(jsonAnswer(answer.value()));
}

Reply<SignedIn> RequestHandler::signIn(const Request& request, const Target& target, double now) {
    const std::string apiToken = parameter(target, "ckAPIToken");
    if (const auto wait = brake(request, apiToken, now)) {
        return throttled(*wait);
    }
    if (apiToken.empty()) {
        return WireError{ErrorCode::authenticationFailed, "no auth method found"};
    }
    auto user = accounts_.userOfApiToken(apiToken);
    if (!user) {
        return user.error();
    }
    if (!user.value()) {
        noteWrongToken(request, apiToken, now);
        return WireError{ErrorCode::authenticationFailed, "Authentication failed"};
    }
    // Not an address: none holds a blank.
    const std::string account = "user " + *user.value();
    if (const auto wait = brake_.wait(account, now)) {
        return throttled(*wait);
    }
    const WireError signInFirst{
        ErrorCode::authenticationRequired, "request needs authorization", {}, request.origin + "/sign-in"};
    const std::string webToken = parameter(target, "ckWebAuthToken");
    if (webToken.empty()) {
        return signInFirst;
    }
    if (const auto wait = brake(request, webToken, now)) {
        return throttled(*wait);
    }
    auto signedIn = accounts_.signIn(webToken, static_cast<std::int64_t>(now));
    if (!signedIn) {
        return signedIn.error();
    }
    if (!signedIn.value() || signedIn.value()->device.user != *user.value()) {
        if (noteWrongToken(request, webToken, now)) {
            brake_.noteWrongToken(account, now);
        }
        return signInFirst;
    }
    return *std::move(signedIn).value();
}

std::optional<double> RequestHandler::brake(const Request& request, const std::string& token, double now) const {
    const auto wait = brake_.wait(request.address, now);
    return wait ? wait : brake_.wait(nameOfToken(request, token), now);
}

bool RequestHandler::noteWrongToken(const Request& request, const std::string& token, double now) {
    // A device whose tokens are void shows them again and again; whoever else is at its address is not to wait for
    // that.
    const bool isNew = brake_.noteWrongToken(nameOfToken(request, token), now) == 1;
    if (isNew) {
        brake_.noteWrongToken(request.address, now);
    }
    return isNew;
}

std::string RequestHandler::nameOfToken(const Request& request, const std::string& token) const {
    return request.address + " " + accounts_.key().hash(token);
}

std::variant<Answer, Parked> RequestHandler::answerCourier(const Request& request, const Target& target) {
    const double now = clock_.now().timeIntervalSince1970();
    if (request.method != "GET") {
        return wrongMethod("GET");
    }
    const std::string token = parameter(target, "tok");
    if (const auto wait = brake(request, token, now)) {
        return refusal(throttled(*wait));
    }
    auto listener = courierTokens_.listener(token, static_cast<std::int64_t>(now));
    if (!listener) {
        return refuse(wireErrorOf(listener.error()));
    }
    if (!listener.value()) {
        noteWrongToken(request, token, now);
        return refusal({ErrorCode::notFound, "there is no such push token; create a new one"});
    }
    if (auto answer = takeNotification(*listener.value())) {
        return *std::move(answer);
    }
    return Parked{*listener.value()};
}

std::optional<Answer> RequestHandler::takeNotification(std::int64_t listener) {
    auto text = courier_.take(listener);
    if (!text) {
        return std::nullopt;
    }
    return Answer{200, {{"Content-Type", "application/json; charset=UTF-8"}}, *std::move(text)};
}

Result<UserStore*> RequestHandler::storeOf(const std::string& user) {
    for (auto each = stores_.begin(); each != stores_.end(); ++each) {
        if (each->user == user) {
            stores_.splice(stores_.begin(), stores_, each);
            return stores_.front().store.get();
        }
    }
    auto store = UserStore::open(userFile(dataFolder_, user), fileSystem_);
    if (!store) {
        return store.error();
    }
    stores_.push_front({user, std::move(store).value()});
    if (stores_.size() > mostOpenStores) {
        stores_.pop_back();
    }
    return stores_.front().store.get();
}

void RequestHandler::tidy() {
    stores_.remove_if([&](const OpenStore& each) {
        std::error_code unknown;
        return !std::filesystem::exists(userFile(dataFolder_, each.user), unknown);
    });
    if (auto everyone = courierTokens_.everyone()) {
        courier_.keepOnly(everyone.value());
    }
}

Answer RequestHandler::refuse(const WireError& error) {
    if (!error.detail.empty()) {
        log_(error.detail);
    }
    return refusal(error);
}

}  // namespace cloudd
