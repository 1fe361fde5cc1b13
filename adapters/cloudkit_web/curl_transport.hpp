#pragma once
/// \file
/// `CurlTransport`, requests by libcurl.

#include <filesystem>
#include <memory>
#include <string>

#include "adapters/cloudkit_web/http_transport.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// How requests travel. Plain value.
struct CurlTransportOptions {
    /// Authorities to trust in place of the system's, in PEM. Servers are always verified.
    std::filesystem::path authorities = {};
    /// Whether plain HTTP is spoken, with servers on this machine or behind a tunnel.
    bool allowsPlainHttp = false;
    /// Names the program to servers.
    std::string userAgent = "QuendoKit";
};

/// Requests over HTTPS (TLS 1.2 or later) by libcurl, with a thread of its own that sleeps while there is nothing to
/// do. Keeps no cookies and follows no redirect. Proxies are those of the environment (`https_proxy`).
class QUENDOKIT_EXPORT CurlTransport final : public HttpTransport {
public:
    explicit CurlTransport(CurlTransportOptions options = {});
    CurlTransport(const CurlTransport&) = delete;
    CurlTransport& operator=(const CurlTransport&) = delete;
    /// Stops. When that happens on the worker thread itself, in the last call of all, the thread ends right after it.
    ~CurlTransport() override;

    Ticket send(HttpRequest request, Completion completion) override;
    void post(Task task) override;
    Ticket runAfter(std::chrono::milliseconds delay, Task task) override;
    void cancel(Ticket ticket) override;

    /// Breaks off what is under way. Nothing is called any more when it returns; calls from then on do nothing. On the
    /// worker thread it does not wait for the call that it is made in. May be called twice.
    void stop();

private:
    class Worker;
    std::shared_ptr<Worker> worker_;
};

}  // namespace quendokit
