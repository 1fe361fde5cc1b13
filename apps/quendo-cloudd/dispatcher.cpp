#include "apps/quendo-cloudd/dispatcher.hpp"

#include <algorithm>
#include <utility>

namespace cloudd {
namespace {

constexpr std::chrono::seconds betweenTidying(60);

/// The answer to who waited in vain: come again.
Answer nothingNew() {
    return {200, {}, ""};
}

}  // namespace

Dispatcher::Dispatcher(RequestHandler& handler, std::chrono::milliseconds parkTime)
    : handler_(handler), parkTime_(parkTime), tidied_(std::chrono::steady_clock::now()), thread_([this] { run(); }) {}

Dispatcher::~Dispatcher() {
    {
        const std::lock_guard lock(mutex_);
        draining_ = true;
        ending_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void Dispatcher::submit(Request request, Completion completion) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back({std::move(request), std::move(completion)});
    }
    changed_.notify_one();
}

void Dispatcher::drain() {
    {
        const std::lock_guard lock(mutex_);
        draining_ = true;
    }
    changed_.notify_one();
}

void Dispatcher::run() {
    std::unique_lock lock(mutex_);
    const auto hasWork = [&] { return !jobs_.empty() || ending_ || (draining_ && !parked_.empty()); };
    while (true) {
        if (parked_.empty()) {
            changed_.wait(lock, hasWork);
        } else {
            changed_.wait_until(lock, firstDeadline(), hasWork);
        }
        if (ending_ && jobs_.empty()) {
            break;
        }
        const std::deque<Job> jobs = std::exchange(jobs_, {});
        const bool draining = draining_;
        lock.unlock();
        for (const Job& job : jobs) {
            work(job);
        }
        const auto now = std::chrono::steady_clock::now();
        if (draining) {
            answerAll();
        } else {
            answerLate(now);
        }
        if (now - tidied_ >= betweenTidying) {
            tidied_ = now;
            handler_.tidy();
        }
        lock.lock();
    }
    lock.unlock();
    answerAll();
}

std::chrono::steady_clock::time_point Dispatcher::firstDeadline() const {
    auto first = std::chrono::steady_clock::time_point::max();
    for (const auto& [listener, waiting] : parked_) {
        first = std::min(first, waiting.until);
    }
    return first;
}

void Dispatcher::work(const Job& job) {
    auto result = handler_.handle(job.request);
    if (const auto* parked = std::get_if<Parked>(&result)) {
        park(parked->listener, job.completion);
    } else {
        job.completion(std::get<Answer>(std::move(result)));
    }
    answerWoken();
}

void Dispatcher::park(std::int64_t listener, const Completion& completion) {
    const auto until = std::chrono::steady_clock::now() + parkTime_;
    if (const auto found = parked_.find(listener); found != parked_.end()) {
        // A client that asks again has given up the request before.
        const Completion before = std::exchange(found->second, {completion, until}).completion;
        before(nothingNew());
    } else if (parked_.size() >= mostParked) {
        completion(refusal({ErrorCode::tryAgainLater, "too many clients wait for changes", 5.0}));
    } else {
        parked_.emplace(listener, Waiting{completion, until});
    }
}

void Dispatcher::answerWoken() {
    for (const std::int64_t listener : handler_.takeWoken()) {
        const auto found = parked_.find(listener);
        if (found == parked_.end()) {
            continue;
        }
        if (auto answer = handler_.takeNotification(listener)) {
            const Completion completion = std::move(found->second.completion);
            parked_.erase(found);
            completion(*std::move(answer));
        }
    }
}

void Dispatcher::answerAll() {
    for (const auto& [listener, waiting] : std::exchange(parked_, {})) {
        waiting.completion(nothingNew());
    }
}

void Dispatcher::answerLate(std::chrono::steady_clock::time_point now) {
    for (auto each = parked_.begin(); each != parked_.end();) {
        if (each->second.until <= now) {
            const Completion completion = std::move(each->second.completion);
            each = parked_.erase(each);
            completion(nothingNew());
        } else {
            ++each;
        }
    }
}

}  // namespace cloudd
