#pragma once
/// \file
/// `WebSession`, one person's requests to one container, one after the other.

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "adapters/cloudkit_web/http_transport.hpp"
#include "adapters/cloudkit_web/web_token_store.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Whose container, and where. Plain value.
struct WebAccount {
    /// Where the service is, as "https://cloud.example.org", without a path behind it. Plain HTTP only to this machine,
    /// or with `allowsPlainHttp`.
    std::string url;
    /// As "iCloud.net.example.reminders".
    std::string container;
    /// "production" or "development".
    std::string environment = "production";
    /// Names the application to the service.
    std::string apiToken;
    /// Names this installation, so that the service need not tell it of its own changes: a UUID that is kept. May be
    /// empty.
    std::string clientID = {};
    bool allowsPlainHttp = false;
};

/// One request to the service. Plain value.
struct WebCall {
    /// What the operation belongs to.
    enum class Module {
        privateDatabase,
        /// The installation, which belongs to no database.
        device,
        /// The same where documents place it; not every service has it there.
        documentedDevice,
    };

    /// Behind the account's part of the path, as "records/modify".
    std::string operation;
    /// JSON; absent for a GET.
    std::optional<std::string> body = {};
    Module module = Module::privateDatabase;
};

/// Sends requests that carry the person's token. The service answers each with the token for the next one; so one is
/// under way at a time, and the next leaves after the new token is kept. Retries nothing.
///
/// Any thread.
class QUENDOKIT_EXPORT WebSession : public std::enable_shared_from_this<WebSession> {
    struct PrivateTag {};

public:
    /// The body of an answer of status 200, or the error that all else is; before it is shown it goes through
    /// `explained`.
    using Completion = std::function<void(Result<std::string>)>;

    /// An error when `account` cannot be used: what is wrong with it.
    [[nodiscard]] static Result<std::shared_ptr<WebSession>> open(WebAccount account,
                                                                  std::shared_ptr<HttpTransport> transport,
                                                                  std::shared_ptr<WebTokenStore> tokens);
    WebSession(PrivateTag, WebAccount account, std::shared_ptr<HttpTransport> transport,
               std::shared_ptr<WebTokenStore> tokens);

    /// Sends `call` once the earlier ones are answered. `completion` is called on the transport's thread, and returns
    /// before the next call is sent.
    void send(WebCall call, Completion completion);

    /// `error` as one line for a person: which service, which operation, what, and no secret in it, whatever the
    /// service has answered. Within a completion.
    [[nodiscard]] Error explained(const std::string& operation, Error error) const;

    /// Where a browser takes the person to sign in, when the call that is answered was refused because nobody is signed
    /// in, and the service said where; empty otherwise. Within a completion.
    [[nodiscard]] const std::string& signInURL() const noexcept { return signInURL_; }

    [[nodiscard]] const WebAccount& account() const noexcept { return account_; }
    [[nodiscard]] HttpTransport& transport() noexcept { return *transport_; }

private:
    struct Waiting {
        WebCall call;
        Completion completion;
    };

    void sendNext();
    [[nodiscard]] std::string urlOf(const WebCall& call);
    void keepToken(const HttpResponse& response);
    void noteSignIn(const HttpResponse& response);

    const WebAccount account_;
    const std::shared_ptr<HttpTransport> transport_;
    const std::shared_ptr<WebTokenStore> tokens_;
    // Below, all on the transport's thread.
    std::deque<Waiting> waiting_;
    bool isBusy_ = false;
    std::optional<std::string> lastToken_;
    std::string signInURL_;
};

}  // namespace quendokit
