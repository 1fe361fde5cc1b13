/// \file
/// The presets, the buttons and the day plan as a person meets them.

#include <fstream>
#include <sstream>
#include <tuple>

#include <sys/stat.h>

#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class QuendoPlan : public QuendoProgram {
protected:
    /// A Wednesday.
    QuendoPlan() { itIs("2026-11-18 10:15:00"); }

    void putSettings(const std::string& text) const {
        fs::create_directories(home_);
        fs::permissions(home_, fs::perms::owner_all);
        std::ofstream(settings_) << text;
        fs::permissions(settings_, fs::perms::owner_read | fs::perms::owner_write);
    }
    [[nodiscard]] std::string settings() const {
        std::ostringstream text;
        text << std::ifstream(settings_).rdbuf();
        return text.str();
    }
    /// What of it is the day plan; a daemon keeps its version there, too.
    [[nodiscard]] json storedPlan() const {
        json plan = json::object();
        const json stored = fs::exists(settings_) ? json::parse(settings()) : json::object();
        for (const auto& [key, value] : stored.items()) {
            if (key.starts_with("quendokit.options.")) {
                plan[key] = value;
            }
        }
        return plan;
    }
    /// The local dates, by the index of the preset.
    [[nodiscard]] std::vector<std::string> dates(const json& presets) const {
        std::vector<std::string> dates;
        for (const json& each : presets["presets"]) {
            const json& condition = each["condition"];
            dates.push_back(condition["type"] == "device" ? "mac" : condition["date"].get<std::string>());
        }
        return dates;
    }

    fs::path settings_ = home_ / "settings.json";
};

TEST_F(QuendoPlan, PresetsAnswerWhatEachWouldGiveNow) {
    const json view = answer({"presets"});
    EXPECT_EQ(view["now"], json::parse(R"({"date": "2026-11-18T10:15:00+01:00", "epoch": 1794993300})"));
    EXPECT_EQ(view["for"], view["now"]);
    EXPECT_EQ(view["category"], "quendo.postpone.category.afternoon");
    EXPECT_EQ(dates(view),
              (std::vector<std::string>{
                  "2026-11-18T13:15:00+01:00", "2026-11-18T12:00:00+01:00", "2026-11-18T18:00:00+01:00",
                  "2026-11-19T09:00:00+01:00", "2026-11-19T12:00:00+01:00", "2026-11-19T18:00:00+01:00",
                  "2026-11-21T11:00:00+01:00", "2026-11-23T09:00:00+01:00", "2026-11-18T10:15:00+01:00", "mac"}));
    EXPECT_EQ(view["presets"][0], json::parse(R"({"index": 0, "name": "later", "type": "later", "event": "added_later",
        "condition": {"type": "dateTime", "date": "2026-11-18T13:15:00+01:00", "epoch": 1795004100}})"));
    EXPECT_EQ(view["presets"][9]["condition"], json::parse(R"({"type": "device", "device": "mac"})"));
    EXPECT_EQ(view["short"], json::parse(R"({"name": "", "type": "custom",
        "condition": {"type": "dateTime", "date": "2026-11-18T10:35:00+01:00", "epoch": 1794994500}})"));
    EXPECT_EQ(view.size(), 5U);
}

TEST_F(QuendoPlan, PresetsReckonFromAnyMoment) {
    const json past = answer({"presets", "--for", "2020-02-28 20:00"});
    EXPECT_EQ(past["for"]["date"], "2020-02-28T20:00:00+01:00");
    EXPECT_EQ(past["now"]["date"], "2026-11-18T10:15:00+01:00");
    EXPECT_EQ(past["category"], "quendo.postpone.category.morning");
    EXPECT_EQ(dates(past)[0], "2026-11-18T11:15:00+01:00");
    EXPECT_EQ(dates(past)[4], "2020-02-29T12:00:00+01:00");
    EXPECT_EQ(dates(past)[8], "2020-02-28T20:00:00+01:00");
    EXPECT_EQ(answer({"presets", "--for", "@0"})["for"]["epoch"], 0);
    EXPECT_EQ(dates(answer({"presets", "--for", "9999-12-30 10:00"}))[3], "9999-12-31T09:00:00+01:00");
    EXPECT_TRUE(answer({"presets", "--for", "9999-12-31 10:00"})["presets"][3]["condition"]["date"].is_null());
}

TEST_F(QuendoPlan, PresetsSayWhenTheClocksSkipTheMoment) {
    const ProgramResult result = run({"--json", "presets", "--for", "2027-03-28 02:30"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output)["for"]["date"], "2027-03-28T03:00:00+02:00");
    EXPECT_EQ(result.errors,
              "quendo: the clocks skip \"2027-03-28 02:30\"; taken is the first moment after it, 2027-03-28 03:00\n");
    EXPECT_EQ(run({"--quiet", "presets", "--for", "2027-03-28 02:30"}).errors, "");
}

TEST_F(QuendoPlan, PresetsForAPersonShowTheConcreteDate) {
    const ProgramResult result = run({"presets"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output,
              "0  later               2026-11-18 13:15\n"
              "1  This Afternoon      2026-11-18 12:00\n"
              "2  This Evening        2026-11-18 18:00\n"
              "3  Tomorrow Morning    2026-11-19 09:00\n"
              "4  Tomorrow Afternoon  2026-11-19 12:00\n"
              "5  Tomorrow Evening    2026-11-19 18:00\n"
              "6  This Weekend        2026-11-21 11:00\n"
              "7  Next Week           2026-11-23 09:00\n"
              "8  Pick a Date         the date that you give with --at\n"
              "9  On My Mac           at your Mac\n");
}

TEST_F(QuendoPlan, AddTakesLaterWhenNothingElseIsGiven) {
    EXPECT_EQ(answer({"add", "x"})["condition"]["date"], "2026-11-18T13:15:00+01:00");
    const ProgramResult result = run({"add", "y"});
    EXPECT_TRUE(result.output.starts_with("Stored \"y\" for 2026-11-18 13:15 (")) << result.output;
}

TEST_F(QuendoPlan, AddTakesAPresetByNumberOrName) {
    for (const char* preset : {"3", "tomorrow-morning", "Tomorrow Morning", "TOMORROW MORNING", "tomorrow morning"}) {
        EXPECT_EQ(answer({"add", "x", "--preset", preset})["condition"]["date"], "2026-11-19T09:00:00+01:00") << preset;
    }
    EXPECT_EQ(answer({"add", "x", "--preset", "on-my-mac"})["condition"]["type"], "device");
    EXPECT_EQ(answer({"add", "x", "--preset", "9"})["list"], "mac");
    EXPECT_EQ(answer({"add", "x", "--preset", "This Weekend"})["condition"]["date"], "2026-11-21T11:00:00+01:00");
}

TEST_F(QuendoPlan, AddRefusesAPresetThatIsNone) {
    for (const char* preset : {"", "10", "-1", "tomorrow", "later ", "Tomorrow  Morning", "heute", "\xFF"}) {
        expectRefusal({"add", "x", "--preset", preset}, 2, "");
    }
    expectRefusal({"add", "x", "--preset", "tomorrow"}, 2, "there is no preset \"tomorrow\"; see quendo presets");
    expectRefusal({"add", "x", "--preset", "8"}, 2, "--at WHEN");
    expectRefusal({"add", "x", "--preset", "Pick a Date"}, 2, "--at WHEN");
    expectRefusal({"add", "x", "--preset", "later", "--mac"}, 2, "exclude each other");
    EXPECT_EQ(fs::exists(home_), DaemonBeside::wanted);
}

TEST_F(QuendoPlan, InTheSecondInWhichTheMorningBeginsTomorrowMorningIsTheNextOne) {
    itIs("2026-11-18 09:00:00");
    EXPECT_EQ(answer({"add", "x", "--preset", "tomorrow-morning"})["condition"]["date"], "2026-11-19T09:00:00+01:00");
    EXPECT_EQ(dates(answer({"presets"}))[3], "2026-11-18T09:00:00+01:00");
    itIs("2026-11-18 08:59:59");
    EXPECT_EQ(answer({"add", "x", "--preset", "tomorrow-morning"})["condition"]["date"], "2026-11-18T09:00:00+01:00");
}

TEST_F(QuendoPlan, ActionsAnswerTheFiveButtons) {
    EXPECT_EQ(answer({"actions"}), json::parse(R"([
        {"id": "quendo.postpone.action.short", "event": "postpone_short", "name": "20 minutes",
         "preset": {"name": "", "type": "custom"}},
        {"id": "quendo.postpone.action.later", "event": "postpone_later", "name": "3 hours",
         "preset": {"name": "later", "type": "later"}},
        {"id": "quendo.postpone.action.morning", "event": "postpone_morning", "name": "Morning",
         "preset": {"name": "Tomorrow Morning", "type": "morning"}},
        {"id": "quendo.postpone.action.afternoon", "event": "postpone_afternoon", "name": "Afternoon",
         "preset": {"name": "This Afternoon", "type": "afternoon"}},
        {"id": "quendo.postpone.action.evening", "event": "postpone_evening", "name": "Evening",
         "preset": {"name": "This Evening", "type": "evening"}}])"));
    EXPECT_EQ(run({"actions"}).output,
              "short      20 minutes\n"
              "later      3 hours\n"
              "morning    Morning\n"
              "afternoon  Afternoon\n"
              "evening    Evening\n");
}

const char* const everyonesOptions = R"({"first-workday": 2, "first-weekend": 7, "workday-morning": 32400,
    "weekend-morning": 39600, "afternoon": 43200, "evening": 64800, "later": 10800, "postpone": 1200,
    "has-mac-app": null, "workdays": [2, 3, 4, 5, 6], "weekend": [7, 1],
    "this-morning": 32400, "tomorrow-morning": 32400, "next-morning": 32400})";

TEST_F(QuendoPlan, OptionsAnswerTheValuesInEffectAndWriteNothing) {
    EXPECT_EQ(answer({"options"}), json::parse(everyonesOptions));
    EXPECT_EQ(answer({"options", "get", "evening"}), json::parse(everyonesOptions));
    EXPECT_EQ(storedPlan(), json::object());
    EXPECT_EQ(fs::exists(database_), DaemonBeside::wanted) << "which opens it when it starts";
}

TEST_F(QuendoPlan, OptionsForAPerson) {
    EXPECT_EQ(run({"options"}).output,
              "first-workday    Monday    My week starts\n"
              "first-weekend    Saturday  My weekend starts\n"
              "workday-morning  09:00     Start my workday at\n"
              "weekend-morning  11:00     Start my weekends at\n"
              "afternoon        12:00     Set my afternoon at\n"
              "evening          18:00     Start my evening at\n"
              "later            3h        Later today\n"
              "postpone         20m       Notification postpone\n"
              "has-mac-app      none      The Mac has the application\n");
    EXPECT_EQ(run({"options", "get", "evening"}).output, "18:00\n");
    EXPECT_EQ(run({"options", "get", "first-weekend"}).output, "Saturday\n");
}

TEST_F(QuendoPlan, ASettingIsKeptAndUsed) {
    EXPECT_EQ(answer({"options", "set", "evening", "19:30"})["evening"], 70200);
    EXPECT_EQ(answer({"options"})["evening"], 70200);
    EXPECT_EQ(answer({"add", "x", "--preset", "this-evening"})["condition"]["date"], "2026-11-18T19:30:00+01:00");
    struct stat status{};
    ASSERT_EQ(stat(settings_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(storedPlan(), json::parse(R"({"quendokit.options.evening": 70200})"));
}

TEST_F(QuendoPlan, SetTakesEveryFormOfValue) {
    const std::vector<std::tuple<std::string, std::string, json>> cases{
        {"first-workday", "sunday", 1},
        {"first-workday", "TUESDAY", 3},
        {"first-workday", "7", 7},
        {"first-weekend", "Friday", 6},
        {"first-weekend", "1", 1},
        {"workday-morning", "07:45", 27900},
        {"workday-morning", "0", 0},
        {"weekend-morning", "08:00:30", 28830},
        {"afternoon", "86399", 86399},
        {"evening", "20:00", 72000},
        {"later", "3h", 10800},
        {"later", "1h30m", 5400},
        {"later", "2d", 172800},
        {"later", "90s", 90},
        {"later", "0", 0},
        {"postpone", "600", 600},
        {"postpone", "45m", 2700},
        {"has-mac-app", "true", true},
        {"has-mac-app", "FALSE", false},
        {"has-mac-app", "none", nullptr},
    };
    for (const auto& [key, value, expected] : cases) {
        EXPECT_EQ(answer({"options", "set", key, value})[key], expected) << key << " " << value;
    }
}

TEST_F(QuendoPlan, SetRefusesWhatCannotBeMeantAndChangesNothing) {
    answer({"options", "set", "later", "1h"});
    const std::string before = settings();
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        {"first-workday", {"", "0", "8", "-1", "mon", "Monday ", "1.0", "true"}},
        {"evening",
         {"", "24:00", "86400", "-1", "9:30", "9:3", "12:60", "12:00:60", "noon", "1h", "99999999999999999999"}},
        {"later", {"", "-1", "-1h", "1x", "1h1h", "1m1h", "9223372036854775808", "300000000000", "10000000d"}},
        {"has-mac-app", {"", "1", "0", "yes", "null", "true "}},
    };
    for (const auto& [key, values] : cases) {
        for (const std::string& value : values) {
            const ProgramResult result = run({"options", "set", key, value});
            EXPECT_EQ(result.code, 2) << key << " " << value;
            EXPECT_EQ(result.output, "");
            EXPECT_TRUE(result.errors.starts_with("quendo: ")) << result.errors;
            EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
        }
    }
    EXPECT_EQ(settings(), before);
    expectRefusal({"options", "set", "evening", "25:00"}, 2,
                  "evening cannot be \"25:00\": write a time of day as 09:30");
    expectRefusal({"options", "set", "first-workday", "0"}, 2, "write a day as monday");
    expectRefusal({"options", "set", "has-mac-app", "yes"}, 2, "write true, false or none");
    expectRefusal({"options", "set", "later", "soon"}, 2, "write a duration as 3h, 20m");
}

TEST_F(QuendoPlan, KeysThatAreNone) {
    for (const char* key : {"", "Evening", "quendokit.options.evening", "this-morning", "weekend", "later "}) {
        expectRefusal({"options", "get", key}, 2, "there is no setting");
        expectRefusal({"options", "set", key, "1"}, 2, "there is no setting");
    }
    expectRefusal({"options", "get", "dawn"}, 2,
                  "there is no setting \"dawn\"; the settings are first-workday, first-weekend,");
    expectRefusal({"options", "get"}, 2, "KEY is required");
    expectRefusal({"options", "set", "evening"}, 2, "VALUE is required");
    expectRefusal({"options", "unset"}, 2, "unset");
    expectRefusal({"options", "set", "evening", "1", "2"}, 2, "2");
    EXPECT_EQ(fs::exists(home_), DaemonBeside::wanted);
}

TEST_F(QuendoPlan, ADayPlanWhoseTimesCoincideIsRefused) {
    expectRefusal({"options", "set", "afternoon", "18:00"}, 2, "evening");
    expectRefusal({"options", "set", "evening", "12:00"}, 2, "afternoon");
    expectRefusal({"options", "set", "afternoon", "09:00"}, 2, "workday-morning");
    expectRefusal({"options", "set", "afternoon", "11:00"}, 2, "weekend-morning");
    expectRefusal({"options", "set", "weekend-morning", "18:00"}, 2, "evening");
    EXPECT_EQ(answer({"options"}), json::parse(everyonesOptions));
    // The two mornings never meet on one day.
    EXPECT_EQ(answer({"options", "set", "weekend-morning", "09:00"})["weekend-morning"], 32400);
}

TEST_F(QuendoPlan, ResetGoesBackAndLeavesTheMacAppAlone) {
    answer({"options", "set", "has-mac-app", "true"});
    answer({"options", "set", "evening", "20:00"});
    answer({"options", "set", "first-workday", "sunday"});
    json expected = json::parse(everyonesOptions);
    expected["has-mac-app"] = true;
    EXPECT_EQ(answer({"options", "reset"}), expected);
    EXPECT_EQ(answer({"options"}), expected);
}

TEST_F(QuendoPlan, AStoredPlanWhoseTimesCoincideHasNoCategory) {
    putSettings(R"({"quendokit.options.evening": 43200})");
    const ProgramResult result = run({"--json", "presets"});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(json::parse(result.output)["category"].is_null());
    EXPECT_NE(result.errors.find("begin at the same time"), std::string::npos) << result.errors;
    EXPECT_EQ(run({"--quiet", "presets"}).errors, "");
    // The same value again is no better, but the rest can be changed.
    expectRefusal({"options", "set", "evening", "12:00"}, 2, "afternoon and evening begin at the same time");
    EXPECT_EQ(answer({"options", "set", "later", "1h"})["later"], 3600);
    // And one value mends it.
    EXPECT_EQ(answer({"options", "set", "evening", "18:00"})["evening"], 64800);
    EXPECT_EQ(answer({"presets"})["category"], "quendo.postpone.category.afternoon");
}

TEST_F(QuendoPlan, AStoredValueThatWouldEndTheProgramReadsAsTheDefaultWithAWarning) {
    putSettings(R"({"quendokit.options.first-workday": 0, "quendokit.options.evening": -5, "mine": [1, null]})");
    const ProgramResult result = run({"--json", "options"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output), json::parse(everyonesOptions));
    EXPECT_NE(result.errors.find("first-workday"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("evening"), std::string::npos) << result.errors;
    EXPECT_EQ(run({"add", "x"}).code, 0);
    EXPECT_EQ(run({"options", "set", "first-workday", "monday"}).code, 0);
    EXPECT_EQ(run({"options", "set", "evening", "18:00"}).code, 0);
    EXPECT_EQ(answer({"options"}), json::parse(everyonesOptions));
    EXPECT_EQ(json::parse(settings())["mine"], json::parse("[1, null]"));
}

TEST_F(QuendoPlan, StoredValuesOfOtherKindsReadAsTheDefault) {
    putSettings(R"({"quendokit.options.first-workday": "2", "quendokit.options.evening": 64800.5,
                    "quendokit.options.later": null, "quendokit.options.postpone": [1],
                    "quendokit.options.afternoon": true, "quendokit.options.has-mac-app": 1})");
    EXPECT_EQ(answer({"options"}), json::parse(everyonesOptions));
}

TEST_F(QuendoPlan, LargeStoredNumbersAreShown) {
    putSettings(R"({"quendokit.options.later": 9223372036854775807, "quendokit.options.evening": 90000,
                    "quendokit.options.first-weekend": 8})");
    const json options = answer({"options"});
    EXPECT_EQ(options["later"], 9223372036854775807);
    EXPECT_EQ(options["evening"], 90000);
    EXPECT_EQ(options["first-weekend"], 1);
    const json presets = answer({"presets"});
    EXPECT_TRUE(presets["presets"][0]["condition"]["date"].is_null());
    EXPECT_EQ(dates(json{{"presets", json::array({presets["presets"][2]})}})[0], "2026-11-19T01:00:00+01:00");
    EXPECT_EQ(run({"presets"}).code, 0);
    EXPECT_EQ(run({"options"}).code, 0);
}

TEST_F(QuendoPlan, DamagedSettingsArePutAsideAndSaid) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon puts them aside, and says so, when it starts";
    }
    putSettings("{\"quendokit.options.evening\": 7");
    const ProgramResult result = run({"--json", "options"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output), json::parse(everyonesOptions));
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    EXPECT_NE(result.errors.find("settings.json"), std::string::npos) << result.errors;
    EXPECT_EQ(answer({"options", "set", "evening", "20:00"})["evening"], 72000);
    bool kept = false;
    for (const auto& entry : fs::directory_iterator(home_)) {
        kept = kept || entry.path().filename().string().find("damaged") != std::string::npos;
    }
    EXPECT_TRUE(kept);
}

TEST_F(QuendoPlan, DoctorNamesSettingsThatCannotBeMeant) {
    answer({"options", "set", "evening", "19:30"});
    for (const auto& [key, value] : std::map<std::string, int>{{"first-workday", 0},
                                                               {"evening", -1},
                                                               {"afternoon", 86'400},
                                                               {"workday-morning", 70'200},
                                                               {"later", -5}}) {
        SCOPED_TRACE(key);
        json document = json::parse(std::ifstream(home_ / "settings.json"));
        const json sound = document;
        document["quendokit.options." + key] = value;
        std::ofstream(home_ / "settings.json") << document;
        const ProgramResult result = run({"doctor"});
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.output.find("FAILED  settings"), std::string::npos) << result.output;
        EXPECT_NE(result.output.find(key), std::string::npos) << result.output;
        std::ofstream(home_ / "settings.json") << sound;
        EXPECT_EQ(run({"doctor"}).code, 0);
    }
}

TEST_F(QuendoPlan, DoctorLooksAtTheSettings) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon has put them aside before the doctor looks";
    }
    putSettings("no json");
    const ProgramResult result = run({"--json", "doctor"});
    EXPECT_EQ(result.code, 4);
    bool found = false;
    for (const json& each : json::parse(result.output)) {
        found = found || (each["check"] == "settings" && each["ok"] == false);
    }
    EXPECT_TRUE(found) << result.output;
    EXPECT_EQ(settings(), "no json");
}

TEST_F(QuendoPlan, SpeaksTheLanguageOfTheEnvironment) {
    environment_["LANG"] = "C.UTF-8";
    environment_["LANGUAGE"] = "de";
    EXPECT_EQ(answer({"presets"})["presets"][2]["name"], "Heute Abend");
    EXPECT_NE(run({"options"}).output.find("Montag"), std::string::npos);
    EXPECT_EQ(answer({"options", "set", "first-workday", "dienstag"})["first-workday"], 3);
    EXPECT_EQ(answer({"actions"})[0]["name"], "20 Minuten");
    // Presets keep their English names for scripts.
    EXPECT_EQ(answer({"add", "x", "--preset", "this-evening"})["condition"]["date"], "2026-11-18T18:00:00+01:00");
}

TEST_F(QuendoPlan, SpeaksALanguageWhoseLocaleTheSystemLacks) {
    environment_["LANG"] = "fr_FR.UTF-8";
    EXPECT_EQ(answer({"presets"})["presets"][2]["name"], "Ce soir");
    EXPECT_NE(run({"options"}).output.find("lundi"), std::string::npos);
    // An empty variable is as good as none.
    environment_["LANGUAGE"] = "";
    EXPECT_EQ(answer({"presets"})["presets"][2]["name"], "Ce soir");
    environment_["LC_ALL"] = "C";
    EXPECT_EQ(answer({"presets"})["presets"][2]["name"], "This Evening");
}

}  // namespace
}  // namespace quendo::testing
