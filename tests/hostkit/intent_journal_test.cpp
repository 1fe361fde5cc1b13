#include "hostkit/intent_journal.hpp"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

class IntentJournals : public ::testing::Test {
protected:
    using Lines = std::vector<std::string>;

    [[nodiscard]] std::unique_ptr<IntentJournal> open() const {
        auto journal = IntentJournal::open(file_);
        EXPECT_TRUE(journal) << journal.error().description;
        return std::move(journal).value();
    }

    [[nodiscard]] std::string text() const {
        std::ostringstream text;
        text << std::ifstream(file_).rdbuf();
        return text.str();
    }
    void setText(const std::string& text) const { std::ofstream(file_) << text; }

    TemporaryFolder folder_;
    fs::path file_ = folder_.path() / "intents";
};

TEST_F(IntentJournals, ANewOneHasNoLeftoversAndIsForItsOwnerOnly) {
    EXPECT_TRUE(open()->leftovers().empty());
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(IntentJournals, WhatWasNotedAndNotSettledIsLeft) {
    {
        const auto journal = open();
        EXPECT_FALSE(journal->note("first"));
        EXPECT_FALSE(journal->note("second, with blanks"));
        EXPECT_TRUE(journal->leftovers().empty());
    }
    EXPECT_EQ(open()->leftovers(), (Lines{"first", "second, with blanks"}));
}

TEST_F(IntentJournals, WhatWasSettledIsNotLeft) {
    {
        const auto journal = open();
        EXPECT_FALSE(journal->note("first"));
        EXPECT_FALSE(journal->settle());
        EXPECT_EQ(text(), "");
        EXPECT_FALSE(journal->note("second"));
    }
    EXPECT_EQ(open()->leftovers(), Lines{"second"});
}

TEST_F(IntentJournals, SettlingForgetsLeftovers) {
    static_cast<void>(open()->note("first"));
    const auto journal = open();
    EXPECT_FALSE(journal->settle());
    EXPECT_TRUE(journal->leftovers().empty());
    EXPECT_TRUE(open()->leftovers().empty());
}

TEST_F(IntentJournals, ALineThatWasCutOffAnywhereIsNotLeftAndHidesNoOther) {
    static_cast<void>(open()->note("first"));
    const std::string first = text();
    static_cast<void>(open()->note("second"));
    const std::string both = text();
    for (std::size_t size = first.size(); size < both.size(); ++size) {
        SCOPED_TRACE(size);
        setText(both.substr(0, size));
        EXPECT_EQ(open()->leftovers(), Lines{"first"});
        static_cast<void>(open()->note("third"));
        EXPECT_EQ(open()->leftovers(), (Lines{"first", "third"}));
    }
}

TEST_F(IntentJournals, ADamagedLineIsNotLeft) {
    static_cast<void>(open()->note("first"));
    static_cast<void>(open()->note("second"));
    const std::string sound = text();
    for (std::size_t i = 0; i < sound.size(); ++i) {
        SCOPED_TRACE(i);
        std::string damaged = sound;
        damaged[i] = damaged[i] == 'x' ? 'y' : 'x';
        setText(damaged);
        const auto left = open()->leftovers();
        EXPECT_LE(left.size(), 1U);
        for (const std::string& intent : left) {
            EXPECT_TRUE(intent == "first" || intent == "second") << intent;
        }
    }
}

TEST_F(IntentJournals, KeepsAnyBytesButLineFeeds) {
    const std::string odd("\0\xFF\r\t{} \"", 8);
    static_cast<void>(open()->note(odd));
    static_cast<void>(open()->note(""));
    EXPECT_EQ(open()->leftovers(), (Lines{odd, ""}));
}

TEST_F(IntentJournals, AFileThatOthersMayReadIsClosedToThem) {
    setText("");
    chmod(file_.c_str(), 0644);
    static_cast<void>(open());
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(IntentJournals, RefuseWhatIsNoFileOfTheirs) {
    const fs::path link = folder_.path() / "link";
    fs::create_symlink(file_, link);
    const fs::path pipe = folder_.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const fs::path& path : {link, pipe, folder_.path(), folder_.path() / "missing" / "intents"}) {
        const auto journal = IntentJournal::open(path);
        ASSERT_FALSE(journal) << path;
        EXPECT_EQ(journal.error().domain, "IntentJournal");
        EXPECT_TRUE(journal.error().description.starts_with(path.string() + ": ")) << journal.error().description;
    }
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(IntentJournals, AFullDiskIsAnErrorAndLeavesNothing) {
    const auto journal = IntentJournal::open("/dev/full");
    EXPECT_FALSE(journal);
    const auto limited = open();
    const rlimit old = [] {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        return limit;
    }();
    const rlimit small{20, old.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto error = limited->note("longer than twenty bytes, together with its sum");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, handler);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, EFBIG);
    EXPECT_EQ(text(), "");
    EXPECT_TRUE(open()->leftovers().empty());
}

using IntentJournalsDeathTest = IntentJournals;

TEST_F(IntentJournalsDeathTest, NotingALineFeedIsFatal) {
    EXPECT_DEATH(static_cast<void>(open()->note("two\nlines")), "");
}

}  // namespace
}  // namespace quendokit::testing
