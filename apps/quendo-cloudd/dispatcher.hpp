#pragma once
/// \file
/// The thread that answers requests, and those who wait for a notification.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "apps/quendo-cloudd/request_handler.hpp"

namespace cloudd {

/// Answers requests one by one on a thread of its own, so that whoever reads sockets waits for no disk. Parked requests
/// cost nothing but their place in a table.
class Dispatcher {
public:
    using Completion = std::function<void(Answer)>;

    /// What may wait at a time; more are asked to come back.
    static constexpr std::size_t mostParked = 1'000;
    static constexpr std::chrono::milliseconds usualParkTime{30'000};

    explicit Dispatcher(RequestHandler& handler, std::chrono::milliseconds parkTime = usualParkTime);
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;
    /// Answers everything that was submitted, parked requests with an empty body.
    ~Dispatcher();

    /// `completion` is called once, on the dispatcher's thread. Any thread.
    void submit(Request request, Completion completion);

    /// From now on nobody is parked, and who is gets an answer at once. Any thread.
    void drain();

private:
    struct Job {
        Request request;
        Completion completion;
    };
    struct Waiting {
        Completion completion;
        std::chrono::steady_clock::time_point until;
    };

    void run();
    [[nodiscard]] std::chrono::steady_clock::time_point firstDeadline() const;
    void work(const Job& job);
    void park(std::int64_t listener, const Completion& completion);
    void answerWoken();
    void answerAll();
    void answerLate(std::chrono::steady_clock::time_point now);

    RequestHandler& handler_;
    const std::chrono::milliseconds parkTime_;

    std::mutex mutex_;
    std::condition_variable changed_;
    // Behind the mutex.
    std::deque<Job> jobs_;
    bool draining_ = false;
    bool ending_ = false;

    // Of the thread alone.
    std::map<std::int64_t, Waiting> parked_;
    std::chrono::steady_clock::time_point tidied_;

    std::thread thread_;
};

}  // namespace cloudd
