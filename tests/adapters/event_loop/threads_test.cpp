/// \file
/// Loops, queues and centres used by several threads at once; for ThreadSanitizer to watch.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/event_loop/process_notification_center.hpp"
#include "quendokit/platform/timer.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/manual_run_loop.hpp"
#include "testing/recording_notification_center.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t threadCount = 4;
constexpr int rounds = 500;

/// Several threads that do the same work, each with its number.
class Workers {
public:
    explicit Workers(const std::function<void(std::size_t)>& work) {
        for (std::size_t i = 0; i < threadCount; ++i) {
            threads_.emplace_back([this, work, i] {
                work(i);
                ++finished_;
            });
        }
    }
    ~Workers() {
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    [[nodiscard]] bool areFinished() const { return finished_ == threadCount; }

private:
    std::atomic<std::size_t> finished_ = 0;
    std::vector<std::thread> threads_;
};

/// What became of one timer.
struct Fate {
    std::atomic<int> fired = 0;
    bool invalidated = false;
    std::shared_ptr<Timer> timer;
};

/// Adds timers and invalidates some of them, at once or a little later.
void addAndInvalidate(RunLoop& loop, std::vector<Fate>& fates, unsigned seed) {
    std::mt19937 random(seed);
    for (Fate& fate : fates) {
        const std::chrono::microseconds interval(random() % 300);
        const bool repeats = random() % 4 == 0;
        fate.timer = Timer::create(interval, [&fate](Timer&) { ++fate.fired; }, repeats);
        loop.add(fate.timer, RunLoopMode::default_);
        if (random() % 8 == 0) {
            loop.add(fate.timer, RunLoopMode::default_);
        }
        if (repeats || random() % 2 == 0) {
            if (random() % 2 == 0) {
                std::this_thread::yield();
            }
            fate.timer->invalidate();
            fate.invalidated = true;
        }
    }
}

void expectEachFiredOnceOrWasInvalidated(std::vector<std::vector<Fate>>& fates) {
    for (std::vector<Fate>& ofThread : fates) {
        for (Fate& fate : ofThread) {
            EXPECT_FALSE(fate.timer->isValid());
            EXPECT_EQ(fate.timer.use_count(), 1) << "the loop still keeps it";
            if (!fate.invalidated) {
                EXPECT_EQ(fate.fired, 1);
            }
        }
    }
}

std::vector<std::vector<Fate>> manyFates() {
    std::vector<std::vector<Fate>> fates(threadCount);
    for (std::vector<Fate>& ofThread : fates) {
        ofThread = std::vector<Fate>(rounds);
    }
    return fates;
}

bool allAreInvalid(const std::vector<std::vector<Fate>>& fates) {
    return std::all_of(fates.begin(), fates.end(), [](const std::vector<Fate>& ofThread) {
        return std::none_of(ofThread.begin(), ofThread.end(), [](const Fate& fate) { return fate.timer->isValid(); });
    });
}

TEST(LoopThreads, AddAndInvalidateTimersWhileAnEventLoopRuns) {
    auto fates = manyFates();
    EventLoop loop;
    {
        std::size_t finished = 0;
        const Workers workers([&](std::size_t thread) {
            addAndInvalidate(loop, fates[thread], static_cast<unsigned>(thread));
            loop.async([&finished] { ++finished; });
        });
        EXPECT_TRUE(loop.runUntil([&] { return finished == threadCount && allAreInvalid(fates); }, 60s));
    }
    expectEachFiredOnceOrWasInvalidated(fates);
}

TEST(LoopThreads, AddAndInvalidateTimersWhileTheTimeOfAManualLoopMoves) {
    auto fates = manyFates();
    ManualRunLoop loop;
    {
        const Workers workers(
            [&](std::size_t thread) { addAndInvalidate(loop, fates[thread], static_cast<unsigned>(thread)); });
        while (!workers.areFinished()) {
            loop.advanceBy(100us);
        }
    }
    loop.advanceBy(1s);
    expectEachFiredOnceOrWasInvalidated(fates);
    EXPECT_EQ(loop.timerCount(), 0U);
}

/// Submits numbered tasks from several threads while `run` runs some; sees that none is lost and that those of each
/// thread run in their order.
void submitWhileRunning(DispatchQueue& queue, const std::function<void()>& run) {
    std::vector<std::vector<int>> ran(threadCount);
    std::size_t count = 0;
    {
        const Workers workers([&](std::size_t thread) {
            for (int i = 0; i < rounds; ++i) {
                queue.async([&ran, &count, thread, i] {
                    ran[thread].push_back(i);
                    ++count;
                });
            }
        });
        while (count < threadCount * rounds) {
            run();
        }
    }
    for (const std::vector<int>& ofThread : ran) {
        EXPECT_EQ(ofThread.size(), static_cast<std::size_t>(rounds));
        EXPECT_TRUE(std::is_sorted(ofThread.begin(), ofThread.end()));
    }
}

TEST(LoopThreads, SubmitTasksWhileAnEventLoopRuns) {
    EventLoop loop;
    submitWhileRunning(loop, [&] { static_cast<void>(loop.runUntil([] { return false; }, 1ms)); });
}

TEST(LoopThreads, SubmitTasksWhileAManualQueueRuns) {
    ManualDispatchQueue queue;
    submitWhileRunning(queue, [&] { queue.runAll(); });
}

TEST(LoopThreads, StopAnEventLoopAsOftenAsTheyLike) {
    EventLoop loop;
    std::atomic<bool> over = false;
    const Workers workers([&](std::size_t) {
        while (!over) {
            loop.stop();
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        loop.run();
    }
    over = true;
    EXPECT_LE(loop.wakeUpCount(), static_cast<std::uint64_t>(rounds));
}

TEST(LoopThreads, EndALoopWhileItsTimersAreInvalidated) {
    for (int round = 0; round < rounds / 5; ++round) {
        auto loop = std::make_unique<EventLoop>();
        std::vector<std::shared_ptr<Timer>> timers;
        for (std::size_t i = 0; i < threadCount; ++i) {
            timers.push_back(Timer::create(1h, [](Timer&) {}, false));
            loop->add(timers.back(), RunLoopMode::default_);
        }
        {
            const Workers workers([&](std::size_t thread) { timers[thread]->invalidate(); });
            loop.reset();
        }
        for (const std::shared_ptr<Timer>& timer : timers) {
            EXPECT_EQ(timer.use_count(), 1);
        }
    }
}

/// Adds, removes and posts on several threads; a handler of the thread's own hears each of its own posts exactly once
/// while it is added, and one that stays hears all.
void postFromSeveralThreads(NotificationCenter& center) {
    std::atomic<std::size_t> heardByAll = 0;
    const auto staying = center.addObserver("news", [&](const Notification&) { ++heardByAll; });
    {
        const Workers workers([&](std::size_t thread) {
            const std::thread::id self = std::this_thread::get_id();
            for (int i = 0; i < rounds; ++i) {
                // Held by both: another thread that posts may still call the handler when it is removed here.
                const auto heard = std::make_shared<int>(0);
                const auto own = center.addObserver("news", [heard, self](const Notification&) {
                    if (std::this_thread::get_id() == self) {
                        ++*heard;
                    }
                });
                center.post({"news", Notification::UserInfo{{"thread", static_cast<std::int64_t>(thread)}}});
                center.removeObserver(own);
                center.post({"other news", std::nullopt});
                EXPECT_EQ(*heard, 1);
            }
        });
    }
    EXPECT_EQ(heardByAll, threadCount * rounds);
    center.removeObserver(staying);
}

TEST(LoopThreads, PostThroughAProcessCentre) {
    ProcessNotificationCenter center;
    postFromSeveralThreads(center);
}

TEST(LoopThreads, PostThroughARecordingCentre) {
    RecordingNotificationCenter center;
    postFromSeveralThreads(center);
    EXPECT_EQ(center.posted("news").size(), threadCount * rounds);
    EXPECT_EQ(center.observerCount("news"), 0U);
}

}  // namespace
}  // namespace quendokit::testing
