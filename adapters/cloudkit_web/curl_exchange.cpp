#include <algorithm>
#include <string>
#include <utility>

#include "adapters/cloudkit_web/curl_exchange_internal.hpp"
#include "adapters/cloudkit_web/url_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit::web {
namespace {

constexpr std::size_t largestHeader = 65'536;
constexpr long longestConnecting = 15'000;  // milliseconds

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

/// Whether nothing can have reached the server.
bool isBeforeSending(CURLcode code) {
    switch (code) {
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_INTERFACE_FAILED:
        case CURLE_PROXY:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
            return true;
        default:
            return false;
    }
}

/// Whether trying again is of no use before somebody changes the settings.
bool isMisconfigured(CURLcode code) {
    switch (code) {
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT:
        case CURLE_LOGIN_DENIED:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_FAILED_INIT:
        case CURLE_OUT_OF_MEMORY:
        case CURLE_NOT_BUILT_IN:
        case CURLE_BAD_FUNCTION_ARGUMENT:
            return true;
        default:
            return false;
    }
}

}  // namespace

CurlExchange::CurlExchange(const CurlTransportOptions& options, HttpRequest request)
    : request_(std::move(request)), handle_(curl_easy_init()) {
    if (handle_ != nullptr) {
        setUp(options);
    }
}

CurlExchange::~CurlExchange() {
    curl_easy_cleanup(handle_);
    curl_slist_free_all(sentHeaders_);
}

void CurlExchange::setUp(const CurlTransportOptions& options) {
    curl_easy_setopt(handle_, CURLOPT_URL, request_.url.c_str());
    curl_easy_setopt(handle_, CURLOPT_PROTOCOLS_STR, options.allowsPlainHttp ? "https,http" : "https");
    curl_easy_setopt(handle_, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    curl_easy_setopt(handle_, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle_, CURLOPT_USERAGENT, options.userAgent.c_str());
    curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(handle_, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!options.authorities.empty()) {
        curl_easy_setopt(handle_, CURLOPT_CAINFO, options.authorities.c_str());
        curl_easy_setopt(handle_, CURLOPT_CAPATH, nullptr);
    }
    if (isLoopback(hostOf(request_.url))) {
        // No proxy stands between a machine and itself.
        curl_easy_setopt(handle_, CURLOPT_PROXY, "");
    }
    // One connection carries requests to one host only, also where several hosts share a certificate.
    curl_easy_setopt(handle_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle_, CURLOPT_TIMEOUT_MS, static_cast<long>(request_.timeout.count()));
    curl_easy_setopt(handle_, CURLOPT_CONNECTTIMEOUT_MS, longestConnecting);
    // Every encoding that the library knows; what counts is the size afterwards.
    curl_easy_setopt(handle_, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, &didReceiveHeader);
    curl_easy_setopt(handle_, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, &didReceiveBody);
    curl_easy_setopt(handle_, CURLOPT_WRITEDATA, this);
    if (request_.body) {
        // Without the second, large bodies wait a second for the server's leave.
        for (const char* header : {"Content-Type: application/json; charset=utf-8", "Expect:"}) {
            sentHeaders_ = curl_slist_append(sentHeaders_, header);
        }
        curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, sentHeaders_);
        curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body->size()));
        curl_easy_setopt(handle_, CURLOPT_POSTFIELDS, request_.body->c_str());
    }
}

std::size_t CurlExchange::didReceiveHeader(const char* data, std::size_t size, std::size_t count, void* exchange) {
    const std::string_view line(data, size * count);
    return static_cast<CurlExchange*>(exchange)->takeHeader(line) ? line.size() : 0;
}

std::size_t CurlExchange::didReceiveBody(const char* data, std::size_t size, std::size_t count, void* exchange) {
    auto& self = *static_cast<CurlExchange*>(exchange);
    const std::size_t length = size * count;
    if (length > self.request_.largestAnswer - self.response_.body.size()) {
        self.isTooLarge_ = true;
        return 0;
    }
    self.response_.body.append(data, length);
    return length;
}

bool CurlExchange::takeHeader(std::string_view line) {
    headerSize_ += line.size();
    if (headerSize_ > largestHeader) {
        isTooLarge_ = true;
        return false;
    }
    if (line.starts_with("HTTP/")) {
        // A preliminary answer went before.
        response_.headers.clear();
    }
    if (const std::size_t colon = line.find(':'); colon != std::string_view::npos) {
        response_.headers.insert_or_assign(inLowerCase(withoutBlanks(line.substr(0, colon))),
                                           std::string(withoutBlanks(line.substr(colon + 1))));
    }
    return true;
}

Result<HttpResponse> CurlExchange::result(CURLcode code) {
    if (code != CURLE_OK) {
        return failure(code);
    }
    long status = 0;
    curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    return std::move(response_);
}

Error CurlExchange::failure(CURLcode code) const {
    // The library's longer texts may hold the URL.
    const std::string why = curl_easy_strerror(code);
    if (isTooLarge_) {
        return makeCKError(CKErrorCode::internalError,
                           "the answer is larger than " + std::to_string(request_.largestAnswer / 1'000'000) + " MB");
    }
    if (isMisconfigured(code)) {
        return makeCKError(CKErrorCode::badContainer, why + "; check the address and the file of authorities");
    }
    if (code == CURLE_PEER_FAILED_VERIFICATION) {
        return makeCKError(CKErrorCode::networkUnavailable,
                           "its certificate cannot be trusted; check the network, the date, and the authorities");
    }
    if (isBeforeSending(code)) {
        return makeCKError(CKErrorCode::networkUnavailable, why + "; check the network and the address");
    }
    return makeCKError(CKErrorCode::networkFailure, why + "; check the network");
}

}  // namespace quendokit::web
