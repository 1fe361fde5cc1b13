/// \file
/// Moving reminders out of a home and into another one.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

class QuendoTransfer : public QuendoProgram {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name)) << text;
        return path(name);
    }
    [[nodiscard]] std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }

    /// One of each kind: upcoming, at the Mac, seen, passed, and one that is deleted.
    void fill() const {
        add("Milk, \"oat\"; \\ 🥛");
        answer({"add", "x", "--at", "@2524755600.25"});
        answer({"add", "Print", "--mac"});
        answer({"seen"});
        answer({"add", "Scan", "--mac"});
        answer({"delete", add("gone")});
    }

    /// What is stored, without what a transfer ignores.
    [[nodiscard]] json kept() const {
        json entries = json::parse(run({"export"}).output);
        for (json& each : entries) {
            each.erase("list");
            each.erase("pending");
            each.erase("deleted");
        }
        return entries;
    }

    /// Another home.
    void moveOut() {
        environment_["QUENDO_HOME"] = (folder_.path() / "other").string();
        home_ = folder_.path() / "other";
    }
};

TEST_F(QuendoTransfer, ExportAnswersEverythingThatIsNotDeletedWithWhenItWasCompleted) {
    fill();
    const json entries = json::parse(run({"export"}).output);
    ASSERT_EQ(entries.size(), 4U);
    const json listed = answer({"list"});
    for (std::size_t i = 0; i < entries.size(); ++i) {
        json entry = entries[i];
        EXPECT_TRUE(entry.at("completed").at("date").is_string());
        EXPECT_TRUE(entry.at("completed").at("epoch").is_number());
        entry.erase("completed");
        EXPECT_EQ(entry, listed[i]);
    }
}

TEST_F(QuendoTransfer, WhatIsExportedToAFileIsImportedAlikeElsewhere) {
    fill();
    const json before = kept();
    for (const char* name : {"all.json", "all.ics"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(answer({"export", path(name)}), (json{{"exported", 4}}));
        EXPECT_EQ(fs::status(path(name)).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }
    EXPECT_TRUE(read("all.ics").starts_with("BEGIN:VCALENDAR"));
    for (const char* name : {"all.json", "all.ics"}) {
        SCOPED_TRACE(name);
        moveOut();
        environment_["QUENDO_HOME"] += name;
        EXPECT_EQ(answer({"import", path(name)}), (json{{"imported", 4}}));
        EXPECT_EQ(kept(), before);
        for (const json& each : answer({"list"})) {
            EXPECT_EQ(each["pending"], true);
        }
    }
}

TEST_F(QuendoTransfer, TheFormatFollowsTheOptionAndElseTheName) {
    fill();
    EXPECT_TRUE(run({"export", "--format", "ics"}).output.starts_with("BEGIN:VCALENDAR"));
    EXPECT_TRUE(run({"export", "--format", "json"}).output.starts_with("["));
    answer({"export", path("odd.ics"), "--format", "json"});
    EXPECT_TRUE(read("odd.ics").starts_with("["));
    expectRefusal({"export", "--format", "xml"}, 2, "no format \"xml\"");
}

TEST_F(QuendoTransfer, AnExportToStandardOutputIsPrintedQuietlyToo) {
    fill();
    EXPECT_EQ(json::parse(run({"--quiet", "export"}).output).size(), 4U);
    EXPECT_EQ(run({"--quiet", "export", path("all.json")}).output, "");
}

TEST_F(QuendoTransfer, OfNothingIsAnEmptyDocument) {
    EXPECT_EQ(json::parse(run({"export"}).output), json::array());
    answer({"export", path("none.ics")});
    EXPECT_EQ(answer({"import", path("none.ics")}), (json{{"imported", 0}}));
}

TEST_F(QuendoTransfer, ImportReplacesAKnownIdentifierAndMakesItUnsent) {
    const std::string id = add("Milk");
    sql("UPDATE ReminderItem SET pending = 0");
    const std::string file = write("one.json", R"([{"id": ")" + id + R"(", "title": "Oat milk", "shown": true,
        "condition": {"type": "device", "device": "mac"}, "completed": {"epoch": 1500000000.5},
        "list": "upcoming", "pending": false, "deleted": true}])");
    EXPECT_EQ(answer({"import", file}), (json{{"imported", 1}}));
    const json stored = answer({"show", id});
    EXPECT_EQ(stored["title"], "Oat milk");
    EXPECT_EQ(stored["list"], "passed");
    EXPECT_EQ(stored["pending"], true);
    EXPECT_EQ(stored["deleted"], false);
    EXPECT_EQ(kept()[0]["completed"]["epoch"], 1500000000.5);
}

TEST_F(QuendoTransfer, ImportLeavesOutWhatIsDeletedHereAndSaysSo) {
    const std::string id = add("Milk");
    answer({"export", path("all.json")});
    answer({"delete", id});
    const auto result = run({"--json", "import", path("all.json")});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output), (json{{"imported", 0}}));
    EXPECT_EQ(result.errors,
              "quendo: left out, because they are deleted here and the cloud does not know yet: \"Milk\"\n");
    EXPECT_EQ(answer({"list"}), json::array());
}

TEST_F(QuendoTransfer, ImportRefusesABadEntryAndImportsNothing) {
    add("kept");
    const json before = kept();
    const std::string good = R"({"title": "good", "condition": {"type": "device", "device": "mac"}})";
    for (const auto& [text, words] : std::vector<std::pair<std::string, std::string>>{
             {"[" + good + R"(, {"title": 3, "condition": {"type": "device", "device": "mac"}}])", "entry 2"},
             {"[" + good + R"(, {"title": "no condition"}])", "entry 2"},
             {"[" + good, "cut off"},
             {"BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:a\r\nSUMMARY:x\r\nEND:VTODO\r\nEND:VCALENDAR\r\n", "entry 1"},
             {"", "empty"},
             {"neither", ""}}) {
        SCOPED_TRACE(text);
        expectRefusal({"import", write("bad", text)}, 2, words);
        EXPECT_EQ(kept(), before);
    }
    expectRefusal({"import", path("missing")}, 2, path("missing"));
    expectRefusal({"import", folder_.path().string()}, 2, "folder");
    expectRefusal({"import"}, 2, "FILE");
}

TEST_F(QuendoTransfer, ImportReadsStandardInput) {
    const std::string file =
        write("one.json", R"([{"title": "Milk", "condition": {"type": "device", "device": "mac"}}])");
    const auto result = quendokit::testing::runProgram(
        {"sh", "-c", std::string(QUENDO_PROGRAM) + " --json import - < " + file}, environment_);
    EXPECT_EQ(json::parse(result.output), (json{{"imported", 1}})) << result.errors;
    EXPECT_EQ(answer({"list"})[0]["title"], "Milk");
}

TEST_F(QuendoTransfer, AnExportThatCannotBeWrittenSaysWhyAndKeepsTheOldFile) {
    fill();
    expectRefusal({"export", folder_.path().string()}, 2, folder_.path().string());
    expectRefusal({"export", path("missing/all.json")}, 2, path("missing/all.json"));
    expectRefusal({"export", "/dev/full"}, 1, "/dev/full");
}

TEST_F(QuendoTransfer, AnExportNamesWhatCouldNotBeImportedAgain) {
    const std::string id = add("Milk");
    add("Bread");
    sql("UPDATE ReminderItem SET title = ' ' WHERE ID = '" + id + "'");
    const auto result = run({"export", path("all.json")});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.errors, "quendo: \" \" (" + id +
                                 ") could not be imported again: the title is empty; say what to be reminded of\n");
    EXPECT_EQ(json::parse(read("all.json")).size(), 2U);
}

TEST_F(QuendoTransfer, ADashIsStandardOutput) {
    fill();
    EXPECT_EQ(json::parse(run({"export", "-"}).output).size(), 4U);
    EXPECT_FALSE(fs::exists("-"));
}

TEST_F(QuendoTransfer, AToDoForADateAloneFallsDueWhenTheWorkdayBegins) {
    answer({"options", "set", "workday-morning", "08:15"});
    const std::string file = write("date.ics",
                                   "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//x//y//\r\nBEGIN:VTODO\r\nUID:a-b-c\r\n"
                                   "SUMMARY:Milk\r\nDUE;VALUE=DATE:20500102\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    EXPECT_EQ(answer({"import", file}), (json{{"imported", 1}}));
    EXPECT_EQ(answer({"show", "a-b-c"})["condition"]["date"], "2050-01-02T08:15:00+01:00");
}

/// One reminder as a line of an export, without its comma: upcoming, passed, at the Mac and seen there, in turn.
std::string exportedLine(int i) {
    const bool atMac = i % 4 >= 2;
    const bool shown = i % 4 == 3;
    const std::time_t seconds = (i % 4 == 0 ? 3'000'000'000 : 1'000'000'000) + 7 * i;
    char date[32];
    std::tm fields{};
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S+00:00", gmtime_r(&seconds, &fields));
    const std::string moment = "\"date\":\"" + std::string(date) + "\",\"epoch\":" + std::to_string(seconds);
    char id[40];
    std::snprintf(id, sizeof id, "00000000-0000-4000-8000-%012d", i);
    return std::string("{\"id\":\"") + id + "\",\"title\":\"Milk no. " + std::to_string(i) +
           " \u00e9\",\"shown\":" + (shown ? "true" : "false") +
           ",\"condition\":{\"type\":" + (atMac ? "\"device\",\"device\":\"mac\"}" : "\"dateTime\"," + moment + "}") +
           ",\"list\":\"" +
           (i % 4 == 0   ? "upcoming"
            : i % 4 == 2 ? "mac"
                         : "passed") +
           "\",\"pending\":true,\"deleted\":false,\"completed\":{" + moment + "}}";
}

TEST_F(QuendoTransfer, AHundredThousandGoInAndComeOutAlike) {
    environment_["TZ"] = "UTC";
    constexpr int count = 100'000;
    std::vector<std::string> lines;
    std::string text = "[\n";
    for (int i = 0; i < count; ++i) {
        lines.push_back(exportedLine(i));
        text += lines.back() + (i + 1 < count ? ",\n" : "\n]\n");
    }
    EXPECT_EQ(answer({"import", write("many.json", text)}), (json{{"imported", count}}));
    EXPECT_EQ(answer({"export", path("again.json")}), (json{{"exported", count}}));
    std::vector<std::string> again;
    std::ifstream file(path("again.json"));
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('{')) {
            again.push_back(line.ends_with(',') ? line.substr(0, line.size() - 1) : line);
        }
    }
    std::sort(again.begin(), again.end());
    std::sort(lines.begin(), lines.end());
    EXPECT_TRUE(again == lines);
}

TEST_F(QuendoTransfer, TellsAPersonHowMany) {
    add("Milk");
    EXPECT_EQ(run({"export", path("a.json")}).output, "Exported 1 reminder to " + path("a.json") + ".\n");
    EXPECT_EQ(run({"import", path("a.json")}).output, "Imported 1 reminder.\n");
}

}  // namespace
}  // namespace quendo::testing
