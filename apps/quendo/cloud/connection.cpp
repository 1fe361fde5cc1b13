#include "apps/quendo/cloud/connection.hpp"

#include <cstdlib>
#include <utility>

#include "adapters/cloudkit_web/web_cloud_database.hpp"

namespace quendo {

Outcome<std::unique_ptr<CloudConnection>> CloudConnection::open(const quendokit::WebAccount& account,
                                                                std::shared_ptr<quendokit::WebTokenStore> tokens,
                                                                std::function<void(const std::string&)> reports) {
    quendokit::CurlTransportOptions options;
    options.userAgent = "quendo";
    // A server of one's own may have a certificate of one's own.
    if (const char* const authorities = std::getenv("SSL_CERT_FILE")) {
        options.authorities = authorities;
    }
    options.allowsPlainHttp = true;
    auto transport = std::make_shared<quendokit::CurlTransport>(std::move(options));
    auto session = quendokit::WebSession::open(account, transport, std::move(tokens));
    if (!session) {
        return Failure{ExitCode::usage, session.error().description};
    }
    auto database = std::make_shared<quendokit::WebCloudDatabase>(
        session.value(), [reports = std::move(reports)](const quendokit::Error& error) { reports(error.description); });
    auto containers = std::make_shared<quendokit::WebContainerProvider>(account.container, std::move(database));
    return std::unique_ptr<CloudConnection>(
        new CloudConnection(std::move(transport), std::move(session).value(), std::move(containers)));
}

CloudConnection::CloudConnection(std::shared_ptr<quendokit::CurlTransport> transport,
                                 std::shared_ptr<quendokit::WebSession> session,
                                 std::shared_ptr<quendokit::CKContainerProvider> containers)
    : transport_(std::move(transport)), session_(std::move(session)), containers_(std::move(containers)) {}

CloudConnection::~CloudConnection() {
    transport_->stop();
}

}  // namespace quendo
