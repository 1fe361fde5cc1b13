/// \file
/// Settings on a disk that fails, and programs that are killed: each system call in turn.

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tests/adapters/files/file_settings_fixture.hpp"
#include "tests/support/child_process.hpp"

namespace quendokit::testing {
namespace {

constexpr int killed = 137;

class FailingDisk : public FileSettings {
protected:
    /// How many system calls the change of a file makes.
    [[nodiscard]] std::size_t callsOfAChange() {
        makeFile();
        const auto settings = open();
        disk->forget();
        settings->set("k", "new");
        return disk->calls().size();
    }

    /// A file and its backup, written by earlier runs.
    void makeFile() const {
        writeContents(file, old);
        writeContents(beside(".backup"), older);
    }

    /// The file holds the old content or the new one, and its backup what one of them replaced.
    void expectWhole() const {
        const std::string now = contentsOf(file);
        EXPECT_TRUE(now == old || now == changed) << now;
        const std::string before = contentsOf(beside(".backup"));
        EXPECT_TRUE(before == old || (before == older && now == old)) << before;
    }

    const std::string older = "{\n    \"k\": \"older\",\n    \"other\": [1]\n}\n";
    const std::string old = "{\n    \"k\": \"old\",\n    \"other\": [1]\n}\n";
    const std::string changed = "{\n    \"k\": \"new\",\n    \"other\": [1]\n}\n";
};

TEST_F(FailingDisk, EachCallInTurnFailsAndNothingIsLost) {
    const std::size_t calls = callsOfAChange();
    ASSERT_GT(calls, 20U);
    std::set<std::string> toldOf;
    for (const int number : {EIO, ENOSPC, EACCES}) {
        for (std::size_t call = 0; call < calls; ++call) {
            makeFile();
            const auto settings = open();
            disk->forget();
            disk->failAt(call, number);
            settings->set("k", "new");
            SCOPED_TRACE("call " + std::to_string(call) + ", " + disk->calls()[call] + ": error " +
                         std::to_string(number));
            disk->mend();

            expectHolds(*settings, "k", "new");
            expectWhole();
            EXPECT_EQ(fileNames(), (Names{"settings.json", "settings.json.backup", "settings.json.lock"}));
            EXPECT_LE(told.size(), 1U);
            if (told.empty()) {
                // What failed does not matter: taking away what is not there, letting go of what was read.
                EXPECT_EQ(contentsOf(file), changed);
            } else {
                toldOf.insert(disk->calls()[call]);
                EXPECT_NE(told[0].description.find("(the change is not saved)"), std::string::npos);
            }
            told.clear();

            // The next change that can be saved saves this one, too.
            settings->set("next", true);
            EXPECT_TRUE(told.empty());
            expectHolds(*open(), "k", "new");
            expectHolds(*open(), "next", true);
        }
    }
    EXPECT_EQ(toldOf, (std::set<std::string>{"flock", "fchmod", "fstat", "fsync", "open", "read", "rename", "unlink",
                                             "write"}));
}

TEST_F(FailingDisk, AFullDiskKeepsTheOldFileUntilThereIsRoomAgain) {
    makeFile();
    const auto settings = open();
    disk->failAll("write", ENOSPC);
    settings->set("k", "lost?");
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::full).find("make room"), std::string::npos);
    settings->set("k", "new");
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::full));
    settings->remove("gone");
    EXPECT_EQ(contentsOf(file), old);
    told.clear();

    disk->mend();
    settings->reload();
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(contentsOf(file), changed);
    disk->forget();
    settings->reload();
    EXPECT_EQ(disk->calls(), (std::vector<std::string>{"open", "fstat", "read", "read", "close"}));
}

TEST_F(FailingDisk, WhatCouldNotBeSavedMayBeTakenBack) {
    makeFile();
    const auto settings = open();
    disk->failAll("fsync", EIO);
    settings->set("k", "new");
    settings->set("news", true);
    told.clear();
    disk->mend();
    settings->remove("news");
    settings->set("k", "old");
    expectHolds(*settings, "k", "old");
    settings->set("news", "x");
    settings->remove("news");
    EXPECT_EQ(contentsOf(file), old);
    EXPECT_TRUE(told.empty());
}

TEST_F(FailingDisk, WhatCouldNotBeSavedOutlastsTheChangesOfOthers) {
    makeFile();
    const auto settings = open();
    disk->failAll("write", ENOSPC);
    settings->set("k", "new");
    settings->remove("other");
    told.clear();
    for (const std::string others : {R"({"k": "another", "other": 2})", R"({"other": 3})", "{}"}) {
        writeContents(file, others);
        settings->reload();
        static_cast<void>(toldOnce(FileUserDefaultsErrorCode::full));
        expectHolds(*settings, "k", "new");
        EXPECT_FALSE(settings->object("other"));
    }
    disk->mend();
    settings->reload();
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": \"new\"\n}\n");
}

TEST_F(FailingDisk, AnInterruptedOrPartialWriteGoesOn) {
    makeFile();
    const auto settings = open();
    disk->setLargestWrite(7);
    disk->forget();
    settings->set("k", "new");
    EXPECT_EQ(contentsOf(file), changed);
    const auto calls = disk->calls();
    for (std::size_t call = 0; call < calls.size(); ++call) {
        if (calls[call] != "write" && calls[call] != "read" && calls[call] != "flock") {
            continue;
        }
        makeFile();
        const auto again = open();
        disk->forget();
        disk->failAt(call, EINTR);
        again->set("k", "new");
        disk->mend();
        EXPECT_EQ(contentsOf(file), changed);
        EXPECT_TRUE(told.empty());
    }
}

TEST_F(FailingDisk, AReadThatFailsAtTheStartHidesNothingLater) {
    makeFile();
    disk->failAll("read", EIO);
    const auto settings = open();
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::unavailable));
    EXPECT_FALSE(settings->object("k"));
    disk->mend();
    settings->set("news", true);
    expectHolds(*settings, "k", "old");
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(contentsOf(beside(".backup")), old);
}

TEST_F(FailingDisk, AKillAtEachCallLeavesTheOldContentOrTheNewOne) {
    const std::size_t calls = callsOfAChange();
    bool sawOld = false;
    bool sawNew = false;
    for (std::size_t call = 0; call <= calls; ++call) {
        SCOPED_TRACE("call " + std::to_string(call));
        makeFile();
        EXPECT_EQ(runInChild([&] {
                      const auto settings = open();
                      disk->forget();
                      disk->exitAt(call);
                      settings->set("k", "new");
                      return 0;
                  }),
                  call < calls ? killed : 0);
        expectWhole();
        (contentsOf(file) == old ? sawOld : sawNew) = true;

        const auto next = open();
        expectHolds(*next, "k", contentsOf(file) == old ? "old" : "new");
        next->set("k", "new");
        next->set("news", true);
        EXPECT_EQ(fileNames(), (Names{"settings.json", "settings.json.backup", "settings.json.lock"}));
        EXPECT_TRUE(told.empty());
    }
    EXPECT_TRUE(sawOld && sawNew);
}

TEST_F(FailingDisk, AKillAtEachCallOfTheMendingLosesNoCopy) {
    const std::string mended = "{\n    \"k\": \"older\",\n    \"other\": [1]\n}\n";
    for (const bool knowsSecondNames : {true, false}) {
        bool ended = false;
        for (std::size_t call = 0; !ended; ++call) {
            SCOPED_TRACE("call " + std::to_string(call));
            const TemporaryFolder ownFolder;
            file = ownFolder.path() / "settings.json";
            writeContents(file, "damaged");
            writeContents(beside(".backup"), older);
            ended = runInChild([&] {
                        disk->forget();
                        if (!knowsSecondNames) {
                            disk->failAll("link", EPERM);
                        }
                        disk->exitAt(call);
                        static_cast<void>(open());
                        return 0;
                    }) == 0;
            const bool hasAside = std::filesystem::exists(beside(".damaged-1"));
            EXPECT_TRUE(contentsOf(hasAside ? beside(".damaged-1") : file) == "damaged");
            if (knowsSecondNames) {
                const std::string now = contentsOf(file);
                EXPECT_TRUE(now == "damaged" || now == mended) << now;
                expectHolds(*open(), "k", "older");
            }
            EXPECT_EQ(contentsOf(beside(".backup")), older);
            told.clear();
        }
    }
}

TEST_F(FailingDisk, SeveralProcessesAtOnceLoseNothing) {
    constexpr int processes = 4;
    constexpr std::int64_t rounds = 50;
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process) {
        children.push_back(fork());
        if (children.back() == 0) {
            FileUserDefaultsOptions options;
            options.file = file;
            options.lockTimeout = std::chrono::seconds(60);
            options.onFailure = [](const Error&) { _exit(1); };
            options.operations = disk;
            FileUserDefaults settings(options);
            for (std::int64_t round = 0; round < rounds; ++round) {
                const std::string own = std::to_string(process) + "." + std::to_string(round);
                settings.set(own, round);
                if (round % 2 == 1) {
                    settings.remove(own);
                }
            }
            _exit(0);
        }
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const auto settings = open();
    EXPECT_TRUE(told.empty());
    for (int process = 0; process < processes; ++process) {
        for (std::int64_t round = 0; round < rounds; ++round) {
            const auto found = settings->object(std::to_string(process) + "." + std::to_string(round));
            EXPECT_EQ(found, round % 2 == 0 ? std::optional<PropertyValue>(round) : std::nullopt);
        }
    }
}

}  // namespace
}  // namespace quendokit::testing
