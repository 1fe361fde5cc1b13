#pragma once
/// \file
/// `CurlExchange`, one request by libcurl and what comes back.

#include <cstddef>
#include <string_view>

#include <curl/curl.h>

#include "adapters/cloudkit_web/curl_transport.hpp"
#include "adapters/cloudkit_web/http_transport.hpp"

namespace quendokit::web {

/// Keeps what the library points into; so it stays where it is. One thread.
class CurlExchange {
public:
    CurlExchange(const CurlTransportOptions& options, HttpRequest request);
    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;
    ~CurlExchange();

    /// Null when the library has no memory left.
    [[nodiscard]] CURL* handle() const noexcept { return handle_; }

    /// Takes what came, when the library is done with `code`.
    [[nodiscard]] Result<HttpResponse> result(CURLcode code);

private:
    static std::size_t didReceiveHeader(const char* data, std::size_t size, std::size_t count, void* exchange);
    static std::size_t didReceiveBody(const char* data, std::size_t size, std::size_t count, void* exchange);
    void setUp(const CurlTransportOptions& options);
    bool takeHeader(std::string_view line);
    [[nodiscard]] Error failure(CURLcode code) const;

    const HttpRequest request_;
    CURL* const handle_;
    curl_slist* sentHeaders_ = nullptr;
    HttpResponse response_;
    std::size_t headerSize_ = 0;
    bool isTooLarge_ = false;
};

}  // namespace quendokit::web
