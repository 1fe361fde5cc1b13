#include "adapters/event_loop/event_loop.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "adapters/event_loop/timer_table.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/timer.hpp"

namespace quendokit {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using Instant = TimerTable::Instant;

/// An instant that does not come.
constexpr Instant never = Instant::max();

/// Runs once and is let go of.
using Work = std::function<void()>;

}  // namespace

// Nothing of others is called or destroyed under the lock: a task or what it holds may use the loop.
struct EventLoop::State {
    /// What is done before the loop looks again: so many tasks, then those timers.
    struct Turn {
        std::size_t tasks;
        TimerTable::Turn timers;
    };

    const std::thread::id thread = std::this_thread::get_id();
    std::atomic<std::uint64_t> wakeUps = 0;
    TimerTable timers;

    std::mutex mutex;
    std::condition_variable wakened;
    /// Until when the thread sleeps; absent while it is awake.
    std::optional<Instant> asleepUntil;
    bool running = false;
    bool stopping = false;
    bool ended = false;
    std::deque<Task> tasks;

    [[nodiscard]] Turn beginTurn() const { return {tasks.size(), timers.beginTurn(steady_clock::now())}; }

    /// The next thing to do in `turn`. Null when it is over.
    [[nodiscard]] Work next(Turn& turn) {
        if (turn.tasks > 0) {
            --turn.tasks;
            Task task = std::move(tasks.front());
            tasks.pop_front();
            return task;
        }
        if (const std::shared_ptr<Timer> timer = timers.takeNext(turn.timers, steady_clock::now())) {
            return [timer] { timer->fire(); };
        }
        return nullptr;
    }

    /// Sleeps until there is something to do, or until `deadline`.
    void sleep(std::unique_lock<std::mutex>& lock, Instant deadline) {
        const Instant until = std::min(deadline, timers.nextDue().value_or(never));
        if (!tasks.empty() || until <= steady_clock::now()) {
            return;
        }
        asleepUntil = until;
        if (until == never) {
            wakened.wait(lock);
        } else {
            wakened.wait_until(lock, until);
        }
        asleepUntil.reset();
        ++wakeUps;
    }
};

/// Marks the loop as running, on its own thread and once at a time.
class EventLoop::Running {
public:
    explicit Running(State& state) : state_(state) {
        if (std::this_thread::get_id() != state.thread) {
            fatalError("an EventLoop was told to run on another thread than the one that made it");
        }
        const std::lock_guard lock(state.mutex);
        if (state.running) {
            fatalError("an EventLoop was told to run by one of its own tasks or actions");
        }
        state.running = true;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        const std::lock_guard lock(state_.mutex);
        state_.running = false;
        state_.stopping = false;
    }

private:
    State& state_;
};

EventLoop::EventLoop() : state_(std::make_unique<State>()) {}

EventLoop::~EventLoop() {
    end();
}

void EventLoop::end() {
    std::deque<Task> dropped;
    {
        const std::lock_guard lock(state_->mutex);
        // What ends with them may submit once more; that is dropped too.
        state_->ended = true;
        dropped.swap(state_->tasks);
    }
    state_->timers.end();
}

void EventLoop::add(std::shared_ptr<Timer> timer, RunLoopMode /*mode*/) {
    if (const auto due = state_->timers.add(std::move(timer), steady_clock::now())) {
        const std::lock_guard lock(state_->mutex);
        if (state_->asleepUntil && *due < *state_->asleepUntil) {
            state_->wakened.notify_one();
        }
    }
}

void EventLoop::async(Task task) {
    const std::lock_guard lock(state_->mutex);
    if (state_->ended) {
        return;
    }
    state_->tasks.push_back(std::move(task));
    state_->wakened.notify_one();
}

void EventLoop::run() {
    runToDeadline([] { return false; }, never);
}

bool EventLoop::runUntil(const std::function<bool()>& done, nanoseconds atMost) {
    const Instant now = steady_clock::now();
    return runToDeadline(done, atMost > never - now ? never : now + atMost);
}

bool EventLoop::runToDeadline(const std::function<bool()>& done, Instant deadline) {
    State& state = *state_;
    const Running running(state);
    bool isDone = done();
    std::unique_lock lock(state.mutex);
    while (!isDone && !state.stopping) {
        State::Turn turn = state.beginTurn();
        for (Work work = state.next(turn); work; work = state.next(turn)) {
            lock.unlock();
            work();
            work = nullptr;
            isDone = done();
            lock.lock();
            if (isDone || state.stopping) {
                return isDone;
            }
        }
        if (steady_clock::now() >= deadline) {
            lock.unlock();
            return done();
        }
        state.sleep(lock, deadline);
    }
    return isDone;
}

void EventLoop::stop() {
    const std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    state_->wakened.notify_one();
}

bool EventLoop::isOnItsThread() const {
    return std::this_thread::get_id() == state_->thread;
}

std::uint64_t EventLoop::wakeUpCount() const {
    return state_->wakeUps;
}

}  // namespace quendokit
