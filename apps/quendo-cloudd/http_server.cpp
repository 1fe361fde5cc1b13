#include "apps/quendo-cloudd/http_server.hpp"

#include <condition_variable>
#include <microhttpd.h>
#include <mutex>
#include <unistd.h>
#include <utility>

#include "apps/quendo-cloudd/exchange.hpp"

namespace cloudd {
namespace {

using Clock = std::chrono::steady_clock;
using Phase = ConnectionWatch::Phase;
using quendokit::Error;
using quendokit::Result;

constexpr std::chrono::seconds longestFarewell(2);
/// The header, and as much again for the answer's.
constexpr std::size_t connectionMemory = 2 * mostHeaderBytes + 8'192;
/// TLS 1.2 is old enough for everybody.
constexpr const char* tlsPriorities = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";
/// A body without announced length is read so far before the connection is cut.
constexpr std::size_t mostDiscardedBytes = 2 * mostBodyBytes;

class MicroHttpServer final : public HttpServer {
public:
    MicroHttpServer(Dispatcher& dispatcher, Patience patience, std::uint16_t port, std::string name, bool isEncrypted)
        : dispatcher_(dispatcher), watch_(patience), port_(port), name_(std::move(name)), isEncrypted_(isEncrypted) {}
    MicroHttpServer(const MicroHttpServer&) = delete;
    MicroHttpServer& operator=(const MicroHttpServer&) = delete;
    ~MicroHttpServer() override { stop(); }

    [[nodiscard]] bool start(int socket, const TlsCredentials& credentials);
    [[nodiscard]] std::uint16_t port() const override { return port_; }
    void endLateConnections() override { watch_.shutLate(Clock::now()); }
    void stop() override;

private:
    static void connectionChanged(void* server, MHD_Connection* connection, void** entry,
                                  MHD_ConnectionNotificationCode code);
    static void* requestBegins(void* server, const char* target, MHD_Connection* connection);
    static MHD_Result requestContinues(void* server, MHD_Connection* connection, const char* url, const char* method,
                                       const char* version, const char* data, std::size_t* size, void** context);
    static void requestEnds(void* server, MHD_Connection* connection, void** exchange, MHD_RequestTerminationCode why);

    MHD_Result begin(MHD_Connection* connection, Exchange& exchange, const char* method);
    MHD_Result takeBody(MHD_Connection* connection, Exchange& exchange, std::string_view data);
    MHD_Result dispatch(MHD_Connection* connection, Exchange& exchange);
    MHD_Result answer(MHD_Connection* connection, const Answer& answer);
    void enter(MHD_Connection* connection, Phase phase);

    Dispatcher& dispatcher_;
    ConnectionWatch watch_;
    const std::uint16_t port_;
    const std::string name_;
    const bool isEncrypted_;
    MHD_Daemon* daemon_ = nullptr;

    std::mutex mutex_;
    std::condition_variable ended_;
    // Behind the mutex.
    bool stopping_ = false;
    /// With the dispatcher.
    std::size_t suspended_ = 0;
    /// Begun and not yet answered to the end.
    std::size_t active_ = 0;
};

ConnectionWatch::Entry* entryOf(MHD_Connection* connection) {
    const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<ConnectionWatch::Entry*>(info->socket_context);
}

bool MicroHttpServer::start(int socket, const TlsCredentials& credentials) {
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    MHD_OptionItem tls[] = {
        {MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(credentials.key.c_str())},
        {MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(credentials.certificate.c_str())},
        {MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(tlsPriorities)},
        {MHD_OPTION_END, 0, nullptr},
    };
    if (isEncrypted_) {
        flags |= MHD_USE_TLS;
    } else {
        tls[0] = tls[3];
    }
    daemon_ =
        MHD_start_daemon(flags, 0, nullptr, nullptr, requestContinues, this, MHD_OPTION_LISTEN_SOCKET, socket,
                         MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_PER_IP_CONNECTION_LIMIT,
                         mostConnectionsOfAnAddress, MHD_OPTION_CONNECTION_MEMORY_LIMIT, connectionMemory,
                         MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_NOTIFY_CONNECTION,
                         connectionChanged, this, MHD_OPTION_URI_LOG_CALLBACK, requestBegins, this,
                         MHD_OPTION_NOTIFY_COMPLETED, requestEnds, this, MHD_OPTION_ARRAY, tls, MHD_OPTION_END);
    return daemon_ != nullptr;
}

void MicroHttpServer::stop() {
    if (daemon_ == nullptr) {
        return;
    }
    const int socket = MHD_quiesce_daemon(daemon_);
    {
        std::unique_lock lock(mutex_);
        stopping_ = true;
        lock.unlock();
        dispatcher_.drain();
        lock.lock();
        ended_.wait_for(lock, longestFarewell, [&] { return active_ == 0; });
        // A connection that the dispatcher still holds cannot be ended.
        ended_.wait(lock, [&] { return suspended_ == 0; });
    }
    MHD_stop_daemon(std::exchange(daemon_, nullptr));
    if (socket != MHD_INVALID_SOCKET) {
        close(socket);
    }
}

void MicroHttpServer::connectionChanged(void* server, MHD_Connection* connection, void** entry,
                                        MHD_ConnectionNotificationCode code) {
    auto& self = *static_cast<MicroHttpServer*>(server);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self.watch_.remove(static_cast<ConnectionWatch::Entry*>(*entry));
        *entry = nullptr;
        return;
    }
    const MHD_ConnectionInfo* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    *entry = self.watch_.add(info == nullptr ? -1 : info->connect_fd, Clock::now());
}

void* MicroHttpServer::requestBegins(void* server, const char* target, MHD_Connection* connection) {
    auto& self = *static_cast<MicroHttpServer*>(server);
    self.enter(connection, Phase::header);
    {
        const std::lock_guard lock(self.mutex_);
        ++self.active_;
    }
    auto exchange = std::make_unique<Exchange>();
    exchange->target = target;
    return exchange.release();
}

void MicroHttpServer::requestEnds(void* server, MHD_Connection* connection, void** exchange,
                                  MHD_RequestTerminationCode) {
    auto& self = *static_cast<MicroHttpServer*>(server);
    if (*exchange == nullptr) {
        return;
    }
    const std::unique_ptr<Exchange> owner(static_cast<Exchange*>(*exchange));
    *exchange = nullptr;
    self.enter(connection, Phase::idle);
    const std::lock_guard lock(self.mutex_);
    --self.active_;
    self.ended_.notify_all();
}

MHD_Result MicroHttpServer::requestContinues(void* server, MHD_Connection* connection, const char*, const char* method,
                                             const char*, const char* data, std::size_t* size, void** context) {
    auto& self = *static_cast<MicroHttpServer*>(server);
    auto& exchange = *static_cast<Exchange*>(*context);
    if (!exchange.hasBegun) {
        return self.begin(connection, exchange, method);
    }
    if (*size > 0) {
        const std::string_view piece(data, *size);
        *size = 0;
        return self.takeBody(connection, exchange, piece);
    }
    if (exchange.answer) {
        return self.answer(connection, *exchange.answer);
    }
    return self.dispatch(connection, exchange);
}

MHD_Result MicroHttpServer::begin(MHD_Connection* connection, Exchange& exchange, const char* method) {
    exchange.hasBegun = true;
    if (const auto refused = refusalOfHeader(connection)) {
        return answer(connection, *refused);
    }
    exchange.request = requestOf(connection, method, std::move(exchange.target), name_, isEncrypted_);
    enter(connection, Phase::body);
    return MHD_YES;
}

MHD_Result MicroHttpServer::takeBody(MHD_Connection* connection, Exchange& exchange, std::string_view data) {
    watch_.noteBody(entryOf(connection), data.size());
    exchange.bodyBytes += data.size();
    if (exchange.bodyBytes <= mostBodyBytes) {
        exchange.request.body += data;
        return MHD_YES;
    }
    // Only now known, as it comes in chunks; an answer can be given behind its end alone.
    exchange.request.body.clear();
    exchange.answer = bodyTooLarge();
    return exchange.bodyBytes > mostDiscardedBytes ? MHD_NO : MHD_YES;
}

MHD_Result MicroHttpServer::dispatch(MHD_Connection* connection, Exchange& exchange) {
    enter(connection, Phase::working);
    {
        const std::lock_guard lock(mutex_);
        if (stopping_) {
            return answer(connection, refusal({ErrorCode::tryAgainLater, "the server is about to end", 5.0}));
        }
        ++suspended_;
    }
    MHD_suspend_connection(connection);
    dispatcher_.submit(std::move(exchange.request), [this, connection, &exchange](Answer result) {
        exchange.answer = std::move(result);
        MHD_resume_connection(connection);
        const std::lock_guard lock(mutex_);
        --suspended_;
        ended_.notify_all();
    });
    return MHD_YES;
}

MHD_Result MicroHttpServer::answer(MHD_Connection* connection, const Answer& answer) {
    enter(connection, Phase::answer);
    MHD_Response* response = MHD_create_response_from_buffer(answer.body.size(), const_cast<char*>(answer.body.data()),
                                                             MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) {
        return MHD_NO;
    }
    MHD_add_response_header(response, "Cache-Control", "no-store");
    for (const auto& [name, value] : answer.headers) {
        MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    const MHD_Result queued = MHD_queue_response(connection, static_cast<unsigned>(answer.status), response);
    MHD_destroy_response(response);
    return queued;
}

void MicroHttpServer::enter(MHD_Connection* connection, Phase phase) {
    if (ConnectionWatch::Entry* entry = entryOf(connection)) {
        watch_.enter(entry, phase, Clock::now());
    }
}

}  // namespace

Result<std::unique_ptr<HttpServer>> HttpServer::start(ListenSocket socket, const TlsCredentials& credentials,
                                                      Dispatcher& dispatcher, Patience patience) {
    auto server = std::make_unique<MicroHttpServer>(dispatcher, patience, socket.port(), socket.name(),
                                                    !credentials.certificate.empty());
    if (!server->start(socket.descriptor(), credentials)) {
        return Error{"Listen", 1,
                     credentials.certificate.empty()
                         ? "the server cannot start: the system has no room for it; see the limits of open files"
                         : "the server cannot start with that certificate and key; see that both are PEM and belong "
                           "together"};
    }
    static_cast<void>(socket.release());
    return std::unique_ptr<HttpServer>(std::move(server));
}

}  // namespace cloudd
