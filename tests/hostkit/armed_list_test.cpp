#include "hostkit/armed_list.hpp"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "hostkit/armed_list_file.hpp"
#include "tests/hostkit/alarms_fixture.hpp"
#include "tests/support/full_disk.hpp"
#include "tests/support/lines.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

using ArmedList = AlarmsFixture;

TEST_F(ArmedList, HoldsTheDatedRemindersFromNowOnTheEarliestFirst) {
    ReminderItem deleted = datedItem("deleted", start + 60);
    deleted.deleted = true;
    put({datedItem("late", start + 600), datedItem("early", start + 60), datedItem("now", start),
         datedItem("over", Date(start.timeIntervalSince1970() - 0.001)), macItem("mac"), deleted,
         shownItem("again", start + 90)});
    controller = ReminderController::create(nullptr, realm);
    EXPECT_EQ(armedReminders(*controller, start), (std::vector<ArmedReminder>{{"now", "now", start, false},
                                                                              {"early", "early", start + 60, false},
                                                                              {"again", "again", start + 90, true},
                                                                              {"late", "late", start + 600, false}}));
}

class ArmedListFiles : public ::testing::Test {
protected:
    [[nodiscard]] ArmedListFile open() {
        return ArmedListFile(file, [this](const std::string& line) { reports.push_back(line); });
    }
    [[nodiscard]] std::string text() const {
        std::ostringstream stream;
        stream << std::ifstream(file, std::ios::binary).rdbuf();
        return stream.str();
    }
    void setText(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }

    const TemporaryFolder folder;
    const fs::path file = folder.path() / "armed";
    const std::vector<ArmedReminder> two{{"a", "title", Date(1.5), false}, {"b", "other", Date(1e9 + 0.1), true}};
    /// Before any of them.
    const Date early{0};
    std::vector<std::string> reports;
};

TEST_F(ArmedListFiles, AnswerWhatWasWritten) {
    EXPECT_EQ(open().read(), std::nullopt);
    EXPECT_FALSE(open().write(two, early));
    EXPECT_EQ(open().read(), two);
    EXPECT_FALSE(open().write({}, early));
    EXPECT_EQ(open().read(), std::vector<ArmedReminder>());
    EXPECT_TRUE(reports.empty());
}

TEST_F(ArmedListFiles, AreTheOwnersAlone) {
    EXPECT_FALSE(open().write(two, early));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(ArmedListFiles, AreNotWrittenWhenNothingChanged) {
    ArmedListFile list = open();
    EXPECT_FALSE(list.write(two, early));
    EXPECT_FALSE(list.write(two, early));
    EXPECT_EQ(list.writeCount(), 1U);
    ArmedListFile again = open();
    EXPECT_EQ(again.read(), two);
    EXPECT_FALSE(again.write(two, early));
    EXPECT_EQ(again.writeCount(), 0U);
}

TEST_F(ArmedListFiles, AreNotWrittenForWhatIsOver) {
    ArmedListFile list = open();
    EXPECT_FALSE(list.write(two, early));
    const std::vector<ArmedReminder> rest{two.back()};
    EXPECT_FALSE(list.write(rest, Date(2)));
    EXPECT_EQ(list.writeCount(), 1U);
    EXPECT_FALSE(list.write(rest, early)) << "deleted, not over";
    EXPECT_EQ(list.writeCount(), 2U);
    EXPECT_EQ(open().read(), rest);
}

TEST_F(ArmedListFiles, KeepAnyIdAndOneLineAReminder) {
    const std::string odd("\0\n\r\xff\"\\{}\xed\xa0\x80", 11);
    EXPECT_FALSE(open().write(
        {{odd, odd, Date(1), false}, {std::string(1'000'000, 'i'), std::string(1'000'000, '\n'), Date(2), false}},
        early));
    EXPECT_EQ(linesOf(text()).size(), 3U);
    const auto read = open().read();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->at(0).id, odd);
    EXPECT_EQ(read->at(1).title, std::string(1'000'000, '\n'));
}

TEST_F(ArmedListFiles, DamagedAnywhereReadAsAbsentAndAreKeptAside) {
    EXPECT_FALSE(open().write(two, early));
    const std::string sound = text();
    for (std::size_t i = 0; i < sound.size(); ++i) {
        SCOPED_TRACE(i);
        std::string damaged = sound;
        damaged[i] = damaged[i] == 'x' ? 'y' : 'x';
        for (const std::string& bad : {damaged, sound.substr(0, i)}) {
            reports.clear();
            setText(bad);
            EXPECT_EQ(open().read(), std::nullopt);
            ASSERT_EQ(reports.size(), 1U);
            EXPECT_TRUE(reports.front().starts_with(file.string() + ": the armed list is damaged"));
            EXPECT_FALSE(fs::exists(file));
            EXPECT_TRUE(fs::exists(folder.path() / "armed.damaged"));
        }
    }
    EXPECT_FALSE(open().write(two, early));
    EXPECT_EQ(open().read(), two);
}

TEST_F(ArmedListFiles, ThatAreLinksAreNotRead) {
    EXPECT_FALSE(open().write(two, early));
    const fs::path other = folder.path() / "other";
    fs::rename(file, other);
    fs::create_symlink(other, file);
    EXPECT_EQ(open().read(), std::nullopt);
    EXPECT_EQ(reports.size(), 1U);
    // Nor is what they name written.
    EXPECT_FALSE(open().write({}, early));
    EXPECT_FALSE(fs::is_symlink(file));
    EXPECT_GT(fs::file_size(other), 100U);
}

TEST_F(ArmedListFiles, StayAsTheyWereOnAFullDisk) {
    ArmedListFile list = open();
    EXPECT_FALSE(list.write(two, early));
    {
        const FullDisk full;
        const auto error = list.write({two.front()}, early);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain, "ArmedListFile");
        EXPECT_TRUE(error->description.starts_with(file.string() + ": the armed list cannot be written"))
            << error->description;
    }
    EXPECT_EQ(open().read(), two);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
    EXPECT_FALSE(list.write({two.front()}, early));
    EXPECT_EQ(open().read()->size(), 1U);
}

TEST_F(ArmedListFiles, AreWrittenOverWhatACrashLeftBehind) {
    std::ofstream(folder.path() / "armed.new") << "half a li";
    EXPECT_FALSE(open().write(two, early));
    EXPECT_EQ(open().read(), two);
}

}  // namespace
}  // namespace quendokit::testing
