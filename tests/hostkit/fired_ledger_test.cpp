#include "hostkit/fired_ledger.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/full_disk.hpp"
#include "tests/support/lines.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;
using State = FiredEntry::State;

class FiredLedgers : public ::testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<FiredLedger> open(Date now = Date(1'000)) {
        auto ledger = FiredLedger::open(file, now, [this](const std::string& line) { reports.push_back(line); });
        EXPECT_TRUE(ledger) << ledger.error().description;
        return std::move(ledger).value();
    }
    [[nodiscard]] std::string text() const {
        std::ostringstream stream;
        stream << std::ifstream(file, std::ios::binary).rdbuf();
        return stream.str();
    }
    void setText(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }

    [[nodiscard]] static FiredEntry entry(const std::string& id, double date, State state = State::due,
                                          const std::string& handle = "") {
        return {.id = id, .occurrence = Date(date), .state = state, .handle = handle};
    }

    const TemporaryFolder folder;
    const fs::path file = folder.path() / "ledger";
    std::vector<std::string> reports;
};

TEST_F(FiredLedgers, RememberOverARestart) {
    const FiredEntry full{.id = "a",
                          .occurrence = Date(60.125),
                          .state = State::pressed,
                          .wasShown = true,
                          .handle = "bus 7",
                          .inSummary = true,
                          .action = "button",
                          .pressedAt = Date(61.5)};
    EXPECT_FALSE(open()->put({full, {.id = "mac", .state = State::posted, .handle = "bus 8"}}, Date(70)));
    const auto ledger = open(Date(2'000));
    EXPECT_EQ(ledger->beginning(), Date(1'000));
    EXPECT_EQ(ledger->lastCheck(), Date(70));
    EXPECT_EQ(ledger->count(), 2U);
    const FiredEntry* const read = ledger->find("a", Date(60.125));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->occurrence, full.occurrence);
    EXPECT_EQ(read->state, State::pressed);
    EXPECT_TRUE(read->wasShown);
    EXPECT_EQ(read->handle, "bus 7");
    EXPECT_TRUE(read->inSummary);
    EXPECT_EQ(read->action, "button");
    EXPECT_EQ(read->pressedAt, Date(61.5));
    EXPECT_NE(ledger->find("mac", std::nullopt), nullptr);
    EXPECT_EQ(ledger->find("mac", Date(60)), nullptr);
    EXPECT_EQ(ledger->shownAs("bus 8").size(), 1U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(FiredLedgers, TakeMomentsLessThanASecondApartForOne) {
    const auto ledger = open();
    EXPECT_FALSE(ledger->put({entry("a", 60)}));
    EXPECT_NE(ledger->find("a", Date(60.999)), nullptr);
    EXPECT_NE(ledger->find("a", Date(59.001)), nullptr);
    EXPECT_EQ(ledger->find("a", Date(61)), nullptr);
    EXPECT_EQ(ledger->find("A", Date(60)), nullptr);
    EXPECT_FALSE(ledger->put({entry("a", 60.0005, State::acted)}));
    EXPECT_EQ(ledger->count(), 1U);
    EXPECT_EQ(ledger->find("a", Date(60))->state, State::acted);
}

TEST_F(FiredLedgers, KeepAnyIdAndHandle) {
    const std::string odd("\0\n\xff\"", 4);
    EXPECT_FALSE(open()->put({entry(odd, 60, State::posted, odd)}));
    EXPECT_NE(open()->find(odd, Date(60)), nullptr);
    EXPECT_EQ(open()->shownAs(odd).size(), 1U);
}

TEST_F(FiredLedgers, WaitForTheDiskOnceABatch) {
    const auto ledger = open();
    const auto before = ledger->syncCount();
    FiredLedger::Entries many;
    for (int i = 0; i < 1'000; ++i) {
        many.push_back(entry(std::to_string(i), i));
    }
    EXPECT_FALSE(ledger->put(many, Date(5)));
    EXPECT_EQ(ledger->syncCount(), before + 1);
    EXPECT_FALSE(ledger->put({}));
    EXPECT_EQ(ledger->syncCount(), before + 1);
    EXPECT_EQ(open()->in(State::due).size(), 1'000U);
}

TEST_F(FiredLedgers, DropALineThatWasCutOff) {
    EXPECT_FALSE(open()->put({entry("first", 60)}));
    const std::string first = text();
    EXPECT_FALSE(open()->put({entry("second", 60)}));
    const std::string both = text();
    for (std::size_t size = first.size(); size < both.size(); ++size) {
        SCOPED_TRACE(size);
        setText(both.substr(0, size));
        const auto ledger = open();
        EXPECT_EQ(ledger->count(), 1U);
        EXPECT_FALSE(ledger->put({entry("third", 60)}));
        EXPECT_EQ(open()->count(), 2U);
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(FiredLedgers, PassOverDamagedLinesWithOneReport) {
    EXPECT_FALSE(open()->put({entry("first", 60), entry("second", 60), entry("third", 60)}, Date(70)));
    const std::string sound = text();
    for (std::size_t i = 0; i + 1 < sound.size(); ++i) {
        SCOPED_TRACE(i);
        reports.clear();
        std::string damaged = sound;
        damaged[i] = damaged[i] == 'x' ? 'y' : 'x';
        setText(damaged);
        const auto ledger = open(Date(9'000));
        EXPECT_EQ(reports.size(), 1U);
        EXPECT_GE(ledger->count(), 1U);
        // Each of two lines says when it began.
        EXPECT_EQ(ledger->beginning(), Date(1'000));
    }
}

TEST_F(FiredLedgers, OfRandomBytesAreEmpty) {
    setText(std::string("\0\xff garbage\n{}\n\n", 15) + std::string(10'000, 'z'));
    EXPECT_EQ(open()->count(), 0U);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(FiredLedgers, AreTheOwnersAlone) {
    static_cast<void>(open());
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    chmod(file.c_str(), 0644);
    static_cast<void>(open());
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(FiredLedgers, RefuseWhatIsNoFileOfTheirs) {
    const fs::path link = folder.path() / "link";
    fs::create_symlink(file, link);
    const fs::path pipe = folder.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const fs::path& path : {link, pipe, folder.path(), folder.path() / "missing" / "ledger"}) {
        const auto ledger = FiredLedger::open(path, Date(0));
        ASSERT_FALSE(ledger) << path;
        EXPECT_EQ(ledger.error().domain, "FiredLedger");
        EXPECT_TRUE(ledger.error().description.starts_with(path.string() + ": ")) << ledger.error().description;
    }
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(FiredLedgers, WriteLaterWhatAFullDiskDidNotTake) {
    const auto ledger = open();
    EXPECT_FALSE(ledger->put({entry("a", 60)}));
    {
        const FullDisk full(fs::file_size(file) + 30);
        const auto error = ledger->put({entry("b", 60)});
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, EFBIG);
        EXPECT_TRUE(error->description.starts_with(file.string() + ": the ledger of what rang cannot be written"));
        EXPECT_NE(ledger->find("b", Date(60)), nullptr);
        EXPECT_TRUE(ledger->put({entry("b", 60, State::acted)}));
    }
    EXPECT_EQ(open()->count(), 1U);
    EXPECT_FALSE(ledger->put({entry("c", 60)}));
    const auto again = open();
    EXPECT_EQ(again->count(), 3U);
    EXPECT_EQ(again->find("b", Date(60))->state, State::acted);
    EXPECT_TRUE(reports.empty());
}

TEST_F(FiredLedgers, GrowNoLargerThanWhatIsNeeded) {
    const auto ledger = open();
    EXPECT_FALSE(ledger->put({entry("shown", 1, State::posted, "h"), entry("kept", 1, State::acted)}));
    std::size_t most = 0;
    for (int i = 0; i < 2'000; ++i) {
        const std::string id = std::to_string(i);
        EXPECT_FALSE(ledger->put(
            {entry(id, 60), entry(id, 60, State::posted, "h" + id), entry(id, 60, State::acted, "h" + id)}));
        EXPECT_FALSE(ledger->compact([](const FiredEntry& one) { return one.id == "kept"; }));
        most = std::max(most, ledger->count());
    }
    EXPECT_LT(most, 1'100U);
    EXPECT_LT(linesOf(text()).size(), 3'300U);
    const auto again = open(Date(9'000));
    EXPECT_NE(again->find("shown", Date(1)), nullptr);
    EXPECT_NE(again->find("kept", Date(1)), nullptr);
    EXPECT_EQ(again->beginning(), Date(1'000));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST_F(FiredLedgers, GoOnWithTheOldFileWhenANewOneCannotBeWritten) {
    const auto ledger = open();
    EXPECT_FALSE(ledger->put(FiredLedger::Entries(1'100, entry("a", 60))));
    {
        const FullDisk full;
        EXPECT_TRUE(ledger->compact([](const FiredEntry&) { return true; }));
    }
    EXPECT_FALSE(ledger->put({entry("b", 60)}));
    EXPECT_EQ(open()->count(), 2U);
    EXPECT_FALSE(ledger->compact([](const FiredEntry&) { return true; }));
    EXPECT_FALSE(ledger->put({entry("c", 60)}));
    EXPECT_EQ(open()->count(), 3U);
    EXPECT_LT(linesOf(text()).size(), 10U);
}

TEST_F(FiredLedgers, GiveANameToTheLatestAlone) {
    const auto ledger = open();
    EXPECT_FALSE(ledger->put({entry("a", 60, State::posted, "1")}));
    EXPECT_FALSE(ledger->put({entry("b", 60, State::posted, "1")}));
    for (const auto* one : {ledger.get(), open().release()}) {
        ASSERT_EQ(one->shownAs("1").size(), 1U);
        EXPECT_EQ(one->shownAs("1").front().id, "b");
        EXPECT_EQ(one->find("a", Date(60))->state, State::acted);
        if (one != ledger.get()) {
            delete one;
        }
    }
    EXPECT_TRUE(ledger->shownAs("").empty());
}

TEST_F(FiredLedgers, InMemoryWriteNothing) {
    const auto ledger = FiredLedger::inMemory(Date(5));
    EXPECT_FALSE(ledger->put({entry("a", 60)}, Date(6)));
    EXPECT_NE(ledger->find("a", Date(60)), nullptr);
    EXPECT_EQ(ledger->beginning(), Date(5));
    EXPECT_EQ(ledger->syncCount(), 0U);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

}  // namespace
}  // namespace quendokit::testing
