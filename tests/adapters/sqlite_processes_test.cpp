/// \file
/// Several processes on one file, and processes that are killed.

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tests/support/child_process.hpp"
#include "tests/support/sqlite_world.hpp"

namespace quendokit::testing {
namespace {

class SQLiteProcesses : public ::testing::Test {
protected:
    SQLiteProcesses() { world_.options.busyTimeout = std::chrono::seconds(60); }

    SQLiteWorld world_;
    platform::ScopedInstall installed_{world_.services()};
};

ReminderStruct reminder(const std::string& title) {
    return {title, ReminderCondition::dateTime(Date(2'000'000'000))};
}

TEST_F(SQLiteProcesses, TwoThatTakeTurnsLoseNothing) {
    constexpr int turns = 500;
    int toChild[2];
    int toParent[2];
    ASSERT_EQ(pipe(toChild), 0);
    ASSERT_EQ(pipe(toParent), 0);
    char token = 't';

    const pid_t child = fork();
    if (child == 0) {
        const auto controller = ReminderController::create(nullptr, world_.open().value());
        for (int i = 0; i < turns; ++i) {
            if (read(toChild[0], &token, 1) != 1) {
                _exit(1);
            }
            controller->store(reminder("child " + std::to_string(i)));
            if (controller->reminders(false).size() != static_cast<std::size_t>(2 * i + 2) ||
                write(toParent[1], &token, 1) != 1) {
                _exit(2);
            }
        }
        _exit(0);
    }
    const auto controller = ReminderController::create(nullptr, world_.open().value());
    for (int i = 0; i < turns; ++i) {
        controller->store(reminder("parent " + std::to_string(i)));
        ASSERT_EQ(write(toChild[1], &token, 1), 1);
        ASSERT_EQ(read(toParent[0], &token, 1), 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(controller->reminders(false).size(), static_cast<std::size_t>(2 * turns));
    for (const int descriptor : {toChild[0], toChild[1], toParent[0], toParent[1]}) {
        close(descriptor);
    }
}

TEST_F(SQLiteProcesses, FourThatWriteAtTheSameTimeFromTheVeryBeginningLoseNothing) {
    constexpr int processes = 4;
    constexpr int reminders = 100;
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process) {
        children.push_back(fork());
        if (children.back() == 0) {
            auto realm = world_.open();
            if (!realm) {
                _exit(1);
            }
            const auto controller = ReminderController::create(nullptr, realm.value());
            for (int i = 0; i < reminders; ++i) {
                controller->store(reminder(std::to_string(process) + "." + std::to_string(i)));
            }
            _exit(world_.failures.empty() ? 0 : 2);
        }
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(world_.open().value()->objects<ReminderItem>().count(), static_cast<std::size_t>(processes * reminders));
}

TEST_F(SQLiteProcesses, AfterAKillAtAnyMomentEveryAcknowledgedReminderIsThere) {
    constexpr int kills = 100;
    std::mt19937 random(20'261'121);
    // Kills come while the file is opened as well as between stores, however fast this machine is.
    const auto start = std::chrono::steady_clock::now();
    {
        const auto controller = ReminderController::create(nullptr, world_.open().value());
        controller->store(reminder("first"));
    }
    const auto once = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    std::uniform_int_distribution<useconds_t> untilKill(0, static_cast<useconds_t>(4 * once.count()) + 10'000);
    std::vector<std::string> acknowledged;
    for (int kill_ = 0; kill_ < kills; ++kill_) {
        SCOPED_TRACE(kill_);
        int acknowledgements[2];
        ASSERT_EQ(pipe(acknowledgements), 0);
        const pid_t child = fork();
        if (child == 0) {
            close(acknowledgements[0]);
            const auto scheduler = std::make_shared<RecordingScheduler>();
            const auto controller = ReminderController::create(scheduler, world_.open().value());
            while (true) {
                controller->store(reminder("kept"));
                const std::string id = *scheduler->scheduled().back().id();
                if (write(acknowledgements[1], id.data(), id.size()) < 0) {
                    _exit(1);
                }
            }
        }
        close(acknowledgements[1]);
        usleep(untilKill(random));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        std::string ids;
        char buffer[4096];
        for (ssize_t size = 0; (size = read(acknowledgements[0], buffer, sizeof(buffer))) > 0;) {
            ids.append(buffer, static_cast<std::size_t>(size));
        }
        close(acknowledgements[0]);
        constexpr std::size_t idSize = 36;
        for (std::size_t i = 0; i + idSize <= ids.size(); i += idSize) {
            acknowledged.push_back(ids.substr(i, idSize));
        }
        const auto realm = world_.open();
        ASSERT_TRUE(realm) << realm.error().description;
    }
    EXPECT_EQ(querySQL(world_.file, "PRAGMA integrity_check"), "ok");
    const auto controller = ReminderController::create(nullptr, world_.open().value());
    EXPECT_FALSE(acknowledged.empty());
    for (const std::string& id : acknowledged) {
        EXPECT_TRUE(controller->reminder(id)) << id;
    }
}

}  // namespace
}  // namespace quendokit::testing
