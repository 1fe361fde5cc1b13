#include "adapters/cloudkit_web/web_session.hpp"

#include <algorithm>
#include <utility>

#include "adapters/cloudkit_web/url_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit {
namespace {

constexpr int statusOK = 200;

// Services name the token for the next request so; some by the second name.
constexpr const char* tokenHeader = "x-apple-cloudkit-web-auth-token";
constexpr const char* otherTokenHeader = "x-apple-cloudkit-session";

bool isToken(const std::string& text) {
    constexpr std::size_t longest = 8'192;
    return !text.empty() && text.size() <= longest &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

/// What is wrong with `account`; empty when nothing is.
std::string faultOf(const WebAccount& account) {
    const std::string scheme = web::schemeOf(account.url);
    const std::string host = web::hostOf(account.url);
    if ((scheme != "https" && scheme != "http") || host.empty() ||
        account.url.find_first_of("?#@") != std::string::npos) {
        return "the cloud's address is no URL; give one as https://cloud.example.org";
    }
    if (scheme == "http" && !account.allowsPlainHttp && !web::isLoopback(host)) {
        return "the cloud at " + host + " would be spoken to without encryption; give its https address";
    }
    if (account.container.empty() || account.container.find('/') != std::string::npos) {
        return "the cloud at " + host + " needs the name of a container, as iCloud.net.example.app";
    }
    if (account.environment != "production" && account.environment != "development") {
        return "the cloud at " + host + " has the environments production and development; choose one of them";
    }
    return account.apiToken.empty() ? "the cloud at " + host + " needs an API token; give the one of your application"
                                    : "";
}

void hide(const std::string& secret, std::string& text) {
    // Nobody guards what is shorter, and it may be part of any word.
    constexpr std::size_t shortestSecret = 8;
    if (secret.size() < shortestSecret) {
        return;
    }
    for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
        text.replace(at, secret.size(), "...");
    }
}

Result<std::string> outcomeOf(Result<HttpResponse> answer) {
    if (!answer) {
        return answer.error();
    }
    if (answer.value().status != statusOK) {
        return web::errorOfAnswer(answer.value().status, answer.value().body);
    }
    return std::move(answer).value().body;
}

}  // namespace

Result<std::shared_ptr<WebSession>> WebSession::open(WebAccount account, std::shared_ptr<HttpTransport> transport,
                                                     std::shared_ptr<WebTokenStore> tokens) {
    while (account.url.ends_with('/')) {
        account.url.pop_back();
    }
    if (auto fault = faultOf(account); !fault.empty()) {
        return makeCKError(CKErrorCode::badContainer, std::move(fault));
    }
    return std::make_shared<WebSession>(PrivateTag(), std::move(account), std::move(transport), std::move(tokens));
}

WebSession::WebSession(PrivateTag, WebAccount account, std::shared_ptr<HttpTransport> transport,
                       std::shared_ptr<WebTokenStore> tokens)
    : account_(std::move(account)), transport_(std::move(transport)), tokens_(std::move(tokens)) {}

void WebSession::send(WebCall call, Completion completion) {
    transport_->post([self = shared_from_this(), call = std::move(call), completion = std::move(completion)]() mutable {
        self->waiting_.push_back({std::move(call), std::move(completion)});
        self->sendNext();
    });
}

void WebSession::sendNext() {
    if (isBusy_ || waiting_.empty()) {
        return;
    }
    isBusy_ = true;
    Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    HttpRequest request;
    request.url = urlOf(next.call);
    request.body = std::move(next.call.body);
    transport_->send(std::move(request),
                     [self = shared_from_this(), completion = std::move(next.completion)](Result<HttpResponse> answer) {
                         self->signInURL_.clear();
                         if (answer) {
                             self->keepToken(answer.value());
                             self->noteSignIn(answer.value());
                         }
                         completion(outcomeOf(std::move(answer)));
                         self->isBusy_ = false;
                         self->sendNext();
                     });
}

std::string WebSession::urlOf(const WebCall& call) {
    const bool isDevice = call.module == WebCall::Module::device;
    const bool isPrivate = call.module == WebCall::Module::privateDatabase;
    std::string url = account_.url + (isDevice ? "/device/1/" : "/database/1/") +
                      web::percentEncoded(account_.container) + '/' + account_.environment +
                      (isPrivate ? "/private/" : "/") + call.operation +
                      "?ckAPIToken=" + web::percentEncoded(account_.apiToken);
    lastToken_ = tokens_->webToken();
    if (lastToken_) {
        url += "&ckWebAuthToken=" + web::percentEncoded(*lastToken_);
    }
    if (!account_.clientID.empty()) {
        url += "&clientId=" + web::percentEncoded(account_.clientID);
    }
    return url;
}

void WebSession::keepToken(const HttpResponse& response) {
    for (const char* name : {tokenHeader, otherTokenHeader}) {
        const auto header = response.headers.find(name);
        if (header != response.headers.end() && isToken(header->second)) {
            if (lastToken_ != header->second) {
                tokens_->keep(header->second);
            }
            return;
        }
    }
}

void WebSession::noteSignIn(const HttpResponse& response) {
    if (response.status == 401 || response.status == 421) {
        signInURL_ = web::signInURLOf(response.body);
    }
}

Error WebSession::explained(const std::string& operation, Error error) const {
    std::string& line = error.description;
    hide(account_.apiToken, line);
    if (lastToken_) {
        hide(*lastToken_, line);
    }
    if (const auto token = tokens_->webToken()) {
        hide(*token, line);
    }
    line = "the cloud at " + web::hostOf(account_.url) + ", " + operation + ": " + line;
    return error;
}

}  // namespace quendokit
