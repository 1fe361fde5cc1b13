/// \file
/// What promises "Any thread.", used by several at once; for ThreadSanitizer to watch.

#include <atomic>
#include <barrier>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "quendokit/platform/predicate.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/uuid.hpp"
#include "quendokit/platform/world_internal.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "testing/manual_clock.hpp"
#include "testing/recording_line_sink.hpp"

namespace quendokit::testing {
namespace {

constexpr std::size_t threadCount = 4;
constexpr int rounds = 500;

class Threads : public ::testing::Test {
protected:
    Threads() {
        platform::Services services;
        services.clock = clock_;
        services.standardOutput = lines_;
        installed_.emplace(std::move(services));
    }

    /// Runs `work` on several threads at once, each with its number.
    static void onSeveral(const std::function<void(std::size_t)>& work) {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < threadCount; ++i) {
            threads.emplace_back(work, i);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
    std::shared_ptr<RecordingLineSink> lines_ = std::make_shared<RecordingLineSink>();
    std::optional<platform::ScopedInstall> installed_;
};

TEST_F(Threads, FindOneThingThatIsMadeOnFirstUse) {
    static const platform::OncePerProcess<std::string> shared;
    for (int i = 0; i < rounds; ++i) {
        const platform::ScopedInstall world({});
        std::atomic<int> made = 0;
        std::vector<std::string> found(threadCount);
        std::barrier start(static_cast<std::ptrdiff_t>(threadCount));
        onSeveral([&](std::size_t thread) {
            const auto make = [&] {
                ++made;
                return std::make_shared<std::string>("made before it is found, and too long to lie in the string");
            };
            start.arrive_and_wait();
            found[thread] = shared.get(make) + shared.get(make);
        });
        EXPECT_EQ(made, 1);
        EXPECT_EQ(std::set(found.begin(), found.end()).size(), 1U);
    }
}

TEST_F(Threads, DrawIdentifiersThatAllDiffer) {
    std::vector<std::vector<std::string>> drawn(threadCount);
    onSeveral([&](std::size_t thread) {
        for (int i = 0; i < rounds; ++i) {
            drawn[thread].push_back(makeUUID());
        }
    });
    std::set<std::string> all;
    for (const auto& each : drawn) {
        all.insert(each.begin(), each.end());
    }
    EXPECT_EQ(all.size(), threadCount * rounds);
}

TEST_F(Threads, PrintLinesThatStayWhole) {
    onSeveral([](std::size_t) {
        for (int i = 0; i < rounds; ++i) {
            platform::standardOutput().writeLine("whole line");
        }
    });
    EXPECT_EQ(lines_->lines(), std::vector<std::string>(threadCount * rounds, "whole line"));
}

TEST_F(Threads, ReadTheClockWhileATestMovesIt) {
    onSeveral([&](std::size_t thread) {
        for (int i = 0; i < rounds; ++i) {
            if (thread == 0) {
                clock_->set(Date(1'795'302'000.0 + i));
            }
            EXPECT_GE(platform::clock().now(), Date(1'795'302'000));
            EXPECT_GT(SystemClock().now(), Date(1'700'000'000));
        }
    });
    EXPECT_EQ(clock_->readCount(), threadCount * rounds);
}

TEST_F(Threads, ShareSchemaConfigurationAndPredicates) {
    const Predicate predicate = Predicate::parse("_device = %@ AND shown = false", ReminderItem::schema());
    onSeveral([&](std::size_t) {
        for (int i = 0; i < rounds; ++i) {
            EXPECT_EQ(QuendoKitConfig().schemaVersion, 4U);
            EXPECT_EQ(predicate.argumentTypes().size(), 1U);
        }
    });
}

TEST_F(Threads, ShareAZoneAndMakeTheirOwn) {
    const auto shared = LocalTimeZone::make("Europe/Berlin");
    onSeveral([&](std::size_t) {
        for (int i = 0; i < rounds; ++i) {
            const Date date(1'774'745'999.0 + 86'400.0 * i);
            const auto reading = shared->localDateTime(date);
            ASSERT_TRUE(reading);
            EXPECT_TRUE(shared->locate(*reading));
            EXPECT_EQ(LocalTimeZone::make("Asia/Kathmandu")->offset(date), 20'700);
        }
    });
}

}  // namespace
}  // namespace quendokit::testing
