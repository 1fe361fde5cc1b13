#pragma once
/// \file
/// Requests over HTTP and HTTPS.

#include <cstdint>
#include <memory>
#include <string>

#include "apps/quendo-cloudd/connection_watch.hpp"
#include "apps/quendo-cloudd/dispatcher.hpp"
#include "apps/quendo-cloudd/listen_socket.hpp"

namespace cloudd {

inline constexpr std::size_t mostHeaderBytes = 16'384;
inline constexpr unsigned mostHeaders = 100;
inline constexpr std::size_t mostBodyBytes = 2'097'152;
inline constexpr unsigned mostConnectionsOfAnAddress = 64;
inline constexpr unsigned mostConnections = 1'024;

/// Certificate and key in PEM; both empty for plain HTTP.
struct TlsCredentials {
    std::string certificate;
    std::string key;
};

/// Reads and writes sockets on a thread of its own. What is wrong with a request as such, it answers itself before the
/// body is taken; the rest goes to the dispatcher.
class HttpServer {
public:
    /// Serves from the moment it returns. `dispatcher` must outlive the server.
    [[nodiscard]] static quendokit::Result<std::unique_ptr<HttpServer>> start(ListenSocket socket,
                                                                              const TlsCredentials& credentials,
                                                                              Dispatcher& dispatcher,
                                                                              Patience patience = {});

    virtual ~HttpServer() = default;
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] virtual std::uint16_t port() const = 0;

    /// To be called about once a second: ends connections that take too long.
    virtual void endLateConnections() = 0;

    /// Takes no more connections, lets those who are being answered finish (two seconds at most), and ends.
    virtual void stop() = 0;

protected:
    HttpServer() = default;
};

}  // namespace cloudd
