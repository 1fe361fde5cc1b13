#pragma once
/// \file
/// `HttpTransport`, how requests travel, and the one thread on which everything of the web adapter happens.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// One request. Plain value.
struct HttpRequest {
    /// May hold secrets: it stands in no message.
    std::string url;
    /// JSON to be posted; absent for a GET.
    std::optional<std::string> body = {};
    /// For everything, from the look-up of the host's name to the last byte.
    std::chrono::milliseconds timeout = std::chrono::seconds(30);
    /// An answer of more bytes, after decompression, is broken off.
    std::size_t largestAnswer = 32'000'000;
};

/// What came back. Plain value.
struct HttpResponse {
    int status = 0;
    /// By their names in lower case. Of a header that came twice, the last.
    std::map<std::string, std::string, std::less<>> headers = {};
    std::string body = {};
};

/// Sends requests and runs tasks, all on one worker thread: no two of its calls overlap. Calls from outside return at
/// once, and nothing is called inside them. Any thread.
///
/// Redirects are answered, never followed: a request may carry secrets in its URL. No answer at all is an error of
/// `CKErrorDomain`: `networkUnavailable` when nothing was sent, `networkFailure` when something may have been done.
///
/// What is outstanding when the transport ends is dropped and never called.
class QUENDOKIT_EXPORT HttpTransport {
public:
    using Completion = std::function<void(Result<HttpResponse>)>;
    using Task = std::function<void()>;
    /// Names a request or a task that waits for its time.
    enum class Ticket : std::uint64_t {};

    HttpTransport() = default;
    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;
    virtual ~HttpTransport() = default;

    virtual Ticket send(HttpRequest request, Completion completion) = 0;

    /// Runs `task` after everything that was posted before.
    virtual void post(Task task) = 0;

    /// Runs `task` once `delay` has passed by a clock that does not jump.
    virtual Ticket runAfter(std::chrono::milliseconds delay, Task task) = 0;

    /// Drops what `ticket` names: it is not called any more, unless it is running just now on another thread. Nothing
    /// happens when it is done.
    virtual void cancel(Ticket ticket) = 0;
};

}  // namespace quendokit
