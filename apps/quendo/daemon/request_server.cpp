#include "apps/quendo/daemon/request_server.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <poll.h>
#include <utility>
#include <vector>

#include <sys/eventfd.h>
#include <sys/socket.h>

#include "apps/quendo/daemon/server_connection_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendo {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Instant = steady_clock::time_point;

/// How long nobody is accepted after the system had no descriptor left.
constexpr milliseconds breather(100);

}  // namespace

/// What the server's thread works on. The other threads only leave notes in it.
class RequestServer::Loop : public std::enable_shared_from_this<Loop> {
public:
    Loop(int listening, std::shared_ptr<quendokit::DispatchQueue> queue, Handler handle, RequestServerOptions options)
        : listening_(listening),
          queue_(std::move(queue)),
          handle_(std::move(handle)),
          options_(std::move(options)),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!wake_.isOpen()) {
            quendokit::fatalError("the server of requests has no descriptor to be woken by");
        }
    }

    void run();
    void stop() {
        // On the thread of the tasks: none of them is at work.
        handle_ = nullptr;
        leave([this] { stopping_ = true; });
    }

    /// Absent for hanging up.
    void answer(std::uint64_t id, std::optional<RequestAnswer> answer) {
        leave([&] { notes_.emplace_back(id, std::move(answer)); });
    }

    void handle(Request request, RequestReply reply) const {
        if (handle_) {
            handle_(std::move(request), std::move(reply));
        }
    }

    std::atomic<std::uint64_t> wakeUps = 0;

private:
    struct Client {
        ServerConnection connection;
        std::weak_ptr<RequestReply::Way> way = {};
    };

    template <typename Change>
    void leave(Change change) {
        const std::lock_guard lock(mutex_);
        change();
        eventfd_write(wake_.number(), 1);
    }

    [[nodiscard]] bool mayAccept(Instant now);
    void accept(Instant now);
    void takeNotes(Instant now);
    void proceed(std::uint64_t id, short events);
    void sweep(Instant now);
    [[nodiscard]] int timeOut(Instant now) const;

    const int listening_;
    const std::shared_ptr<quendokit::DispatchQueue> queue_;
    Handler handle_;
    const RequestServerOptions options_;
    const Descriptor wake_;

    std::mutex mutex_;
    std::vector<std::pair<std::uint64_t, std::optional<RequestAnswer>>> notes_;
    bool stopping_ = false;

    // Of the thread alone, the oldest first.
    std::map<std::uint64_t, Client> clients_;
    std::uint64_t lastID_ = 0;
    /// When there may be room for another client; absent when there is.
    std::optional<Instant> fullUntil_;
    std::optional<Instant> lastMoment_;
};

class RequestReply::Way {
public:
    Way(std::weak_ptr<RequestServer::Loop> server, std::uint64_t id) : server_(std::move(server)), id_(id) {}
    Way(const Way&) = delete;
    Way& operator=(const Way&) = delete;
    ~Way() { answer(std::nullopt); }

    void answer(std::optional<RequestAnswer> answer) {
        const auto server = server_.lock();
        if (!answered_.exchange(true) && server) {
            server->answer(id_, std::move(answer));
        }
    }

    std::atomic<bool> pointless = false;

private:
    const std::weak_ptr<RequestServer::Loop> server_;
    const std::uint64_t id_;
    std::atomic<bool> answered_ = false;
};

void RequestReply::operator()(RequestAnswer answer) const {
    way_->answer(std::move(answer));
}

bool RequestReply::isPointless() const {
    return way_->pointless;
}

void RequestServer::Loop::run() {
    for (;;) {
        const Instant begin = steady_clock::now();
        std::vector<pollfd> polled{{wake_.number(), POLLIN, 0}};
        polled.push_back({mayAccept(begin) ? listening_ : -1, POLLIN, 0});
        std::vector<std::uint64_t> ids;
        for (const auto& [id, client] : clients_) {
            polled.push_back({client.connection.number(), client.connection.events(), 0});
            ids.push_back(id);
        }
        const int ready = poll(polled.data(), polled.size(), timeOut(begin));
        ++wakeUps;
        const Instant now = steady_clock::now();
        if (ready > 0) {
            for (std::size_t i = 0; i < ids.size(); ++i) {
                if (polled[i + 2].revents != 0) {
                    proceed(ids[i], polled[i + 2].revents);
                }
            }
            if (polled[0].revents != 0) {
                takeNotes(now);
            }
            if (polled[1].revents != 0) {
                accept(now);
            }
        }
        sweep(now);
        if (lastMoment_ && (clients_.empty() || now >= *lastMoment_)) {
            clients_.clear();
            return;
        }
    }
}

bool RequestServer::Loop::mayAccept(Instant now) {
    if (lastMoment_) {
        return false;
    }
    if (fullUntil_ && now < *fullUntil_ && clients_.size() >= options_.mostConnections) {
        return false;
    }
    fullUntil_.reset();
    if (clients_.size() < options_.mostConnections) {
        return true;
    }
    const auto silent = std::find_if(clients_.begin(), clients_.end(), [](const auto& each) {
        return each.second.connection.state() == ServerConnection::State::reading;
    });
    // Those who wait for an answer make room when they have it.
    if (silent == clients_.end()) {
        return false;
    }
    const Instant leaves = silent->second.connection.since() + options_.grace;
    if (now < leaves) {
        fullUntil_ = leaves;
        return false;
    }
    silent->second.connection.hangUp("it said nothing, and others wait");
    sweep(now);
    return true;
}

void RequestServer::Loop::accept(Instant now) {
    Descriptor descriptor(accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!descriptor.isOpen()) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            std::this_thread::sleep_for(breather);
        }
        return;
    }
    if (peerOf(descriptor.number()) != options_.user) {
        if (options_.log) {
            options_.log("a program of another user was refused");
        }
        return;
    }
    clients_.emplace(++lastID_, Client{ServerConnection(std::move(descriptor), now, now + options_.patience)});
}

void RequestServer::Loop::takeNotes(Instant now) {
    eventfd_t count = 0;
    eventfd_read(wake_.number(), &count);
    decltype(notes_) notes;
    {
        const std::lock_guard lock(mutex_);
        notes.swap(notes_);
        if (stopping_ && !lastMoment_) {
            lastMoment_ = now + options_.farewell;
        }
    }
    for (const auto& [id, answer] : notes) {
        const auto found = clients_.find(id);
        if (found == clients_.end()) {
            continue;
        }
        if (answer) {
            found->second.connection.answer(*answer, now + options_.patience);
        } else {
            found->second.connection.hangUp();
        }
    }
}

void RequestServer::Loop::proceed(std::uint64_t id, short events) {
    Client& client = clients_.at(id);
    auto request = client.connection.proceed(events);
    if (!request || lastMoment_) {
        return;
    }
    const auto way = std::make_shared<RequestReply::Way>(weak_from_this(), id);
    client.way = way;
    // Functions that are copied share what they hold.
    const auto shared = std::make_shared<Request>(*std::move(request));
    queue_->async([weak = weak_from_this(), shared, reply = RequestReply(way)] {
        if (const auto self = weak.lock()) {
            self->handle(std::move(*shared), reply);
        }
    });
}

void RequestServer::Loop::sweep(Instant now) {
    using State = ServerConnection::State;
    for (auto& [id, client] : clients_) {
        ServerConnection& connection = client.connection;
        const bool isLate = connection.deadline() && *connection.deadline() <= now;
        // At the end, answers are still brought on their way.
        const bool isLost = lastMoment_ && connection.state() != State::writing;
        if (connection.state() != State::over && (isLate || isLost)) {
            connection.hangUp(isLost                                 ? ""
                              : connection.state() == State::reading ? "it did not send its request in time"
                                                                     : "it did not read its answer in time");
        }
    }
    std::erase_if(clients_, [&](const auto& each) {
        const ServerConnection& connection = each.second.connection;
        if (connection.state() != State::over) {
            return false;
        }
        if (const auto way = each.second.way.lock()) {
            way->pointless = true;
        }
        if (!connection.fault().empty() && options_.log) {
            options_.log("a client was hung up on: " + connection.fault());
        }
        return true;
    });
}

int RequestServer::Loop::timeOut(Instant now) const {
    std::optional<Instant> next = lastMoment_;
    const auto consider = [&](std::optional<Instant> instant) {
        if (instant && (!next || *instant < *next)) {
            next = instant;
        }
    };
    consider(fullUntil_);
    for (const auto& [id, client] : clients_) {
        consider(client.connection.deadline());
    }
    if (!next) {
        return -1;
    }
    return static_cast<int>(std::max(std::chrono::ceil<milliseconds>(*next - now), milliseconds(0)).count());
}

RequestServer::RequestServer(const ListeningSocket& socket, std::shared_ptr<quendokit::DispatchQueue> queue,
                             Handler handle, RequestServerOptions options)
    : loop_(std::make_shared<Loop>(socket.number(), std::move(queue), std::move(handle), std::move(options))),
      thread_([loop = loop_] { loop->run(); }) {}

RequestServer::~RequestServer() {
    stop();
}

void RequestServer::stop() {
    if (thread_.joinable()) {
        loop_->stop();
        thread_.join();
    }
}

std::uint64_t RequestServer::wakeUpCount() const {
    return loop_->wakeUps;
}

}  // namespace quendo
