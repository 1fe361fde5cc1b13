#pragma once
/// \file
/// `CloudConnection`, the way to the account that a home is connected to.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "adapters/cloudkit_web/curl_transport.hpp"
#include "adapters/cloudkit_web/web_session.hpp"
#include "apps/quendo/failure.hpp"
#include "quendokit/platform/ck_database.hpp"

namespace quendo {

/// Made without a word to anybody: the first request makes the first connection. Ends what is under way when it ends.
class CloudConnection {
public:
    /// `reports` hears, on a thread of the connection's, of what is left out because nobody can read it. Fails when the
    /// account cannot be meant.
    [[nodiscard]] static Outcome<std::unique_ptr<CloudConnection>> open(
        const quendokit::WebAccount& account, std::shared_ptr<quendokit::WebTokenStore> tokens,
        std::function<void(const std::string&)> reports);
    CloudConnection(const CloudConnection&) = delete;
    CloudConnection& operator=(const CloudConnection&) = delete;
    ~CloudConnection();

    [[nodiscard]] const std::shared_ptr<quendokit::CKContainerProvider>& containers() const noexcept {
        return containers_;
    }
    /// For who listens for news.
    [[nodiscard]] const std::shared_ptr<quendokit::WebSession>& webSession() const noexcept { return session_; }

private:
    CloudConnection(std::shared_ptr<quendokit::CurlTransport> transport, std::shared_ptr<quendokit::WebSession> session,
                    std::shared_ptr<quendokit::CKContainerProvider> containers);

    const std::shared_ptr<quendokit::CurlTransport> transport_;
    const std::shared_ptr<quendokit::WebSession> session_;
    const std::shared_ptr<quendokit::CKContainerProvider> containers_;
};

}  // namespace quendo
