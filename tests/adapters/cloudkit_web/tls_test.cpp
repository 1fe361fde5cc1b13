/// \file
/// Which servers are trusted.

#include <future>
#include <utility>

#include <gtest/gtest.h>

#include "adapters/cloudkit_web/curl_transport.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "tests/support/tls_server.hpp"

namespace quendokit::testing {
namespace {

Result<HttpResponse> get(const CurlTransportOptions& options, const std::string& url) {
    CurlTransport transport(options);
    std::promise<Result<HttpResponse>> answer;
    transport.send({url}, [&](Result<HttpResponse> result) { answer.set_value(std::move(result)); });
    return answer.get_future().get();
}

void expectUntrusted(const Result<HttpResponse>& answer) {
    ASSERT_FALSE(answer);
    EXPECT_TRUE(isCKError(answer.error(), CKErrorCode::networkUnavailable)) << answer.error().description;
    EXPECT_NE(answer.error().description.find("certificate"), std::string::npos) << answer.error().description;
}

TEST(CurlTransportTls, AServerIsTrustedByItsAuthorityAndItsName) {
    const TlsServer server("IP:127.0.0.1");
    if (!server.isRunning()) {
        GTEST_SKIP() << "the openssl program is not there";
    }
    const std::string url = "https://127.0.0.1:" + server.port() + "/";
    CurlTransportOptions options;
    expectUntrusted(get(options, url));
    options.authorities = server.certificate();
    const auto answer = get(options, url);
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_EQ(answer.value().status, 200);
    expectUntrusted(get(options, "https://localhost:" + server.port() + "/"));
}

}  // namespace
}  // namespace quendokit::testing
