#pragma once
/// \file
/// `ScriptedTransport`, requests that the test answers, in time that the test moves.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "adapters/cloudkit_web/http_transport.hpp"

namespace quendokit::testing {

/// Keeps each request until the test answers it. What is posted runs in `run`, never inside the call. One thread.
class ScriptedTransport final : public HttpTransport {
public:
    struct Sent {
        HttpRequest request;
        Completion completion;
        Ticket ticket;
    };

    Ticket send(HttpRequest request, Completion completion) override {
        const Ticket ticket = nextTicket();
        sent.push_back({std::move(request), std::move(completion), ticket});
        return ticket;
    }
    void post(Task task) override { posted_.push_back(std::move(task)); }
    Ticket runAfter(std::chrono::milliseconds delay, Task task) override {
        const Ticket ticket = nextTicket();
        timed_.emplace(std::pair(now_ + delay, ticket), std::move(task));
        return ticket;
    }
    void cancel(Ticket ticket) override {
        std::erase_if(sent, [&](const Sent& each) { return each.ticket == ticket; });
        std::erase_if(timed_, [&](const auto& each) { return each.first.second == ticket; });
    }

    /// Runs what was posted, and what that posts.
    void run() {
        while (!posted_.empty()) {
            const Task task = std::move(posted_.front());
            posted_.pop_front();
            task();
        }
    }

    /// Answers the oldest request, and runs what follows from that.
    void answer(Result<HttpResponse> result) {
        const Sent first = std::move(sent.front());
        sent.pop_front();
        first.completion(std::move(result));
        run();
    }
    void answer(int status, std::string body) { answer(HttpResponse{status, {}, std::move(body)}); }

    /// Lets time pass, and runs what is due meanwhile.
    void advanceBy(std::chrono::milliseconds span) {
        const auto end = now_ + span;
        run();
        while (!timed_.empty() && timed_.begin()->first.first <= end) {
            now_ = timed_.begin()->first.first;
            const Task task = std::move(timed_.begin()->second);
            timed_.erase(timed_.begin());
            task();
            run();
        }
        now_ = end;
    }

    /// Drops everything, as the end of a transport does. What holds on to this one is gone then.
    void drop() {
        while (!posted_.empty() || !sent.empty() || !timed_.empty()) {
            const auto posted = std::exchange(posted_, {});
            const auto requests = std::exchange(sent, {});
            const auto timed = std::exchange(timed_, {});
        }
    }

    /// The time until the next task that waits for its time.
    [[nodiscard]] std::chrono::milliseconds untilNext() const {
        return timed_.empty() ? std::chrono::milliseconds::max() : timed_.begin()->first.first - now_;
    }

    /// What is not answered, the oldest first.
    std::deque<Sent> sent;

private:
    Ticket nextTicket() { return Ticket{++lastTicket_}; }

    std::uint64_t lastTicket_ = 0;
    std::chrono::milliseconds now_{0};
    std::deque<Task> posted_;
    std::map<std::pair<std::chrono::milliseconds, Ticket>, Task> timed_;
};

}  // namespace quendokit::testing
