#include "adapters/cloudkit_web/curl_transport.hpp"

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <curl/curl.h>

#include "adapters/cloudkit_web/curl_exchange_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Once a process; libraries before this one may have done it, which does no harm.
void initialiseLibrary() {
    static const CURLcode done = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(done);
}

}  // namespace

/// The thread and what it works on. The thread keeps it.
class CurlTransport::Worker final : public std::enable_shared_from_this<Worker> {
public:
    explicit Worker(CurlTransportOptions options) : options_(std::move(options)), multi_(curl_multi_init()) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() { curl_multi_cleanup(multi_); }

    void start() {
        thread_ = std::thread([self = shared_from_this()] { self->run(); });
    }

    Ticket send(HttpRequest request, Completion completion);
    void post(Task task);
    Ticket runAfter(std::chrono::milliseconds delay, Task task);
    void cancel(Ticket ticket);
    void stop();
    /// Stops, and lets the thread end by itself if this is that thread.
    void end();

private:
    struct Sent {
        std::unique_ptr<web::CurlExchange> exchange;
        Completion completion;
    };
    struct Timed {
        SteadyClock::time_point due;
        Task task;
    };

    [[nodiscard]] bool isHere() const { return std::this_thread::get_id() == thread_.get_id(); }
    Ticket newTicket();
    /// Whether what `ticket` names is still to be called; it is not any more afterwards.
    bool claim(Ticket ticket);

    void run();
    void runPosted();
    void runDue();
    void takeAnswers();
    void begin(Ticket ticket, HttpRequest request, Completion completion);
    void complete(Ticket ticket, CURLcode code);
    void drop(Ticket ticket);
    [[nodiscard]] int millisecondsToSleep();

    const CurlTransportOptions options_;
    CURLM* const multi_;
    std::thread thread_;
    std::atomic<bool> isStopped_ = false;

    std::mutex mutex_;
    std::deque<Task> posted_;
    std::set<Ticket> outstanding_;
    std::uint64_t lastTicket_ = 0;

    // On the thread alone.
    std::map<Ticket, Sent> sent_;
    std::map<Ticket, Timed> timed_;
};

HttpTransport::Ticket CurlTransport::Worker::newTicket() {
    const std::lock_guard lock(mutex_);
    const Ticket ticket{++lastTicket_};
    outstanding_.insert(ticket);
    return ticket;
}

bool CurlTransport::Worker::claim(Ticket ticket) {
    const std::lock_guard lock(mutex_);
    return outstanding_.erase(ticket) > 0;
}

void CurlTransport::Worker::post(Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (isStopped_) {
            return;
        }
        posted_.push_back(std::move(task));
    }
    curl_multi_wakeup(multi_);
}

HttpTransport::Ticket CurlTransport::Worker::send(HttpRequest request, Completion completion) {
    const Ticket ticket = newTicket();
    // The thread lives no longer than this.
    post([this, ticket, request = std::move(request), completion = std::move(completion)]() mutable {
        begin(ticket, std::move(request), std::move(completion));
    });
    return ticket;
}

HttpTransport::Ticket CurlTransport::Worker::runAfter(std::chrono::milliseconds delay, Task task) {
    const Ticket ticket = newTicket();
    const auto due = SteadyClock::now() + delay;
    post(
        [this, ticket, due, task = std::move(task)]() mutable { timed_.emplace(ticket, Timed{due, std::move(task)}); });
    return ticket;
}

void CurlTransport::Worker::cancel(Ticket ticket) {
    if (claim(ticket)) {
        // Behind the task that begins it.
        post([this, ticket] { drop(ticket); });
    }
}

void CurlTransport::Worker::stop() {
    {
        const std::lock_guard lock(mutex_);
        isStopped_ = true;
    }
    curl_multi_wakeup(multi_);
    if (!isHere() && thread_.joinable()) {
        thread_.join();
    }
}

void CurlTransport::Worker::end() {
    stop();
    if (thread_.joinable()) {
        thread_.detach();
    }
}

void CurlTransport::Worker::run() {
    while (!isStopped_) {
        runPosted();
        runDue();
        int running = 0;
        curl_multi_perform(multi_, &running);
        takeAnswers();
        if (!isStopped_) {
            curl_multi_poll(multi_, nullptr, 0, millisecondsToSleep(), nullptr);
        }
    }
    for (auto& [ticket, sent] : sent_) {
        curl_multi_remove_handle(multi_, sent.exchange->handle());
    }
    // What the tasks hold goes here, and may post again, to no effect.
    sent_.clear();
    timed_.clear();
    std::deque<Task> dropped;
    {
        const std::lock_guard lock(mutex_);
        dropped.swap(posted_);
    }
}

void CurlTransport::Worker::runPosted() {
    std::deque<Task> tasks;
    {
        const std::lock_guard lock(mutex_);
        tasks.swap(posted_);
    }
    while (!tasks.empty() && !isStopped_) {
        tasks.front()();
        tasks.pop_front();
    }
}

void CurlTransport::Worker::runDue() {
    while (!isStopped_) {
        const auto now = SteadyClock::now();
        auto first = timed_.end();
        for (auto each = timed_.begin(); each != timed_.end(); ++each) {
            if (each->second.due <= now && (first == timed_.end() || each->second.due < first->second.due)) {
                first = each;
            }
        }
        if (first == timed_.end()) {
            return;
        }
        const Ticket ticket = first->first;
        const Task task = std::move(first->second.task);
        timed_.erase(first);
        if (claim(ticket)) {
            task();
        }
    }
}

void CurlTransport::Worker::begin(Ticket ticket, HttpRequest request, Completion completion) {
    auto exchange = std::make_unique<web::CurlExchange>(options_, std::move(request));
    CURL* const handle = exchange->handle();
    sent_.emplace(ticket, Sent{std::move(exchange), std::move(completion)});
    if (handle == nullptr || curl_multi_add_handle(multi_, handle) != CURLM_OK) {
        complete(ticket, CURLE_FAILED_INIT);
    }
}

void CurlTransport::Worker::takeAnswers() {
    int left = 0;
    while (const CURLMsg* message = isStopped_ ? nullptr : curl_multi_info_read(multi_, &left)) {
        const auto found = std::find_if(sent_.begin(), sent_.end(), [&](const auto& each) {
            return each.second.exchange->handle() == message->easy_handle;
        });
        if (message->msg == CURLMSG_DONE && found != sent_.end()) {
            complete(found->first, message->data.result);
        }
    }
}

void CurlTransport::Worker::complete(Ticket ticket, CURLcode code) {
    const auto found = sent_.find(ticket);
    const Sent sent = std::move(found->second);
    sent_.erase(found);
    curl_multi_remove_handle(multi_, sent.exchange->handle());
    if (claim(ticket)) {
        sent.completion(sent.exchange->result(code));
    }
}

void CurlTransport::Worker::drop(Ticket ticket) {
    timed_.erase(ticket);
    if (const auto found = sent_.find(ticket); found != sent_.end()) {
        curl_multi_remove_handle(multi_, found->second.exchange->handle());
        sent_.erase(found);
    }
}

int CurlTransport::Worker::millisecondsToSleep() {
    using std::chrono::milliseconds;
    {
        const std::lock_guard lock(mutex_);
        if (!posted_.empty()) {
            return 0;
        }
    }
    milliseconds longest = std::chrono::hours(1);
    const auto now = SteadyClock::now();
    for (const auto& [ticket, timed] : timed_) {
        longest = std::min(longest, std::chrono::ceil<milliseconds>(timed.due - now));
    }
    return static_cast<int>(std::max(longest, milliseconds(0)).count());
}

CurlTransport::CurlTransport(CurlTransportOptions options) {
    initialiseLibrary();
    worker_ = std::make_shared<Worker>(std::move(options));
    worker_->start();
}

CurlTransport::~CurlTransport() {
    worker_->end();
}

HttpTransport::Ticket CurlTransport::send(HttpRequest request, Completion completion) {
    return worker_->send(std::move(request), std::move(completion));
}

void CurlTransport::post(Task task) {
    worker_->post(std::move(task));
}

HttpTransport::Ticket CurlTransport::runAfter(std::chrono::milliseconds delay, Task task) {
    return worker_->runAfter(delay, std::move(task));
}

void CurlTransport::cancel(Ticket ticket) {
    worker_->cancel(ticket);
}

void CurlTransport::stop() {
    worker_->stop();
}

}  // namespace quendokit
