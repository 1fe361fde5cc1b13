#include "apps/quendo-cloudd/exchange.hpp"

#include <algorithm>
#include <cstdint>
#include <microhttpd.h>
#include <string_view>
#include <strings.h>

#include "apps/quendo-cloudd/http_server.hpp"
#include "apps/quendo-cloudd/listen_socket.hpp"

namespace cloudd {
namespace {

struct HeaderFacts {
    unsigned count = 0;
    unsigned lengths = 0;
    unsigned encodings = 0;
    unsigned hosts = 0;
    bool hasBadName = false;
    std::string_view length;
    std::string_view encoding;
};

/// Another reader of the same bytes could take a blank in a name for its end, or not.
bool isHeaderName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char character) {
        return character > ' ' && character < 0x7F && character != ':';
    });
}

MHD_Result noteHeader(void* facts, MHD_ValueKind, const char* name, const char* value) {
    auto& seen = *static_cast<HeaderFacts*>(facts);
    ++seen.count;
    seen.hasBadName = seen.hasBadName || !isHeaderName(name);
    if (strcasecmp(name, "Content-Length") == 0) {
        ++seen.lengths;
        seen.length = value == nullptr ? "" : value;
    } else if (strcasecmp(name, "Transfer-Encoding") == 0) {
        ++seen.encodings;
        seen.encoding = value == nullptr ? "" : value;
    } else if (strcasecmp(name, "Host") == 0) {
        ++seen.hosts;
    }
    return MHD_YES;
}

Answer closing(Answer answer) {
    // What follows on the connection can no longer be told apart from the body.
    answer.headers.emplace_back("Connection", "close");
    return answer;
}

Answer refusedHeader(int status, const char* reason) {
    Answer answer = refusal(badRequest(reason));
    answer.status = status;
    return closing(std::move(answer));
}

/// Digits alone, and at most as many as a body may have bytes.
bool isTooLong(std::string_view length) {
    return length.size() > 10 || std::stoull(std::string(length)) > mostBodyBytes;
}

/// Whether a Host header may stand in a URL.
bool isHost(std::string_view host) {
    return !host.empty() && host.size() <= 255 && std::all_of(host.begin(), host.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '.' || character == '-' || character == ':' ||
               character == '[' || character == ']';
    });
}

std::string_view headerValue(MHD_Connection* connection, const char* name) {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

std::optional<Answer> refusalOfHeader(MHD_Connection* connection) {
    const MHD_ConnectionInfo* size = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
    HeaderFacts facts;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, noteHeader, &facts);
    if ((size != nullptr && size->header_size > mostHeaderBytes) || facts.count > mostHeaders) {
        return refusedHeader(431, "the header is larger than 16 KB or has more than 100 lines");
    }
    if (facts.lengths + facts.encodings > 1) {
        return refusedHeader(400, "Content-Length or Transfer-Encoding is given twice, or both are");
    }
    if (facts.hosts != 1 || facts.hasBadName) {
        return refusedHeader(400, "Host is not given once, or the name of a header is none");
    }
    if (facts.encodings == 1 && strcasecmp(std::string(facts.encoding).c_str(), "chunked") != 0) {
        return refusedHeader(400, "the only Transfer-Encoding taken is chunked");
    }
    if (facts.lengths == 1) {
        if (facts.length.empty() || facts.length.find_first_not_of("0123456789") != std::string_view::npos) {
            return refusedHeader(400, "Content-Length is no number");
        }
        if (isTooLong(facts.length)) {
            return bodyTooLarge();
        }
    }
    return std::nullopt;
}

Answer bodyTooLarge() {
    return closing(refusal({ErrorCode::quotaExceeded, "the body is larger than 2 MB; send less at a time"}));
}

Request requestOf(MHD_Connection* connection, const char* method, std::string target, const std::string& ownName,
                  bool isEncrypted) {
    const MHD_ConnectionInfo* peer = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    const std::string_view host = headerValue(connection, "Host");
    // A proxy on the same machine may have taken the encryption off.
    const bool isProxied =
        peer != nullptr && isLoopback(peer->client_addr) && headerValue(connection, "X-Forwarded-Proto") == "https";
    const std::string scheme = isEncrypted || isProxied ? "https://" : "http://";
    return {.method = method,
            .target = std::move(target),
            .body = {},
            .address = peer == nullptr ? "" : addressForLimits(peer->client_addr),
            .origin = scheme + (isHost(host) ? std::string(host) : ownName)};
}

}  // namespace cloudd
