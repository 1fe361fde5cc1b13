/// \file
/// Completion of the command line in bash, with the program behind it.

#include <algorithm>
#include <cctype>
#include <fstream>

#include <gmock/gmock.h>

#include "tests/apps/quendo/program_fixture.hpp"
#include "tests/support/lines.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::linesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::UnorderedElementsAre;

class Completion : public QuendoProgram {
protected:
    /// What bash offers in the place of the last word, in a shell whose owner made it strict; `typed` are the words
    /// that bash cuts the line into.
    [[nodiscard]] std::vector<std::string> offered(const std::vector<std::string>& typed) const {
        std::vector<std::string> words{"bash", "-c",
                                       "set -u; IFS=:; source '" QUENDO_COMPLETION
                                       "'; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); cd / && "
                                       "_quendo \"$1\" \"${@: -1}\" \"${@: -2:1}\"; printf '%s\\n' \"${COMPREPLY[@]}\"",
                                       "bash", QUENDO_PROGRAM};
        words.insert(words.end(), typed.begin(), typed.end());
        const ProgramResult result = quendokit::testing::runProgram(words, environment_);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.errors, "");
        // No offer at all is printed as one empty line.
        return result.output == "\n" ? std::vector<std::string>() : linesOf(result.output);
    }
};

TEST_F(Completion, IsSetUpForTheProgram) {
    const ProgramResult result =
        quendokit::testing::runProgram({"bash", "-c", "source '" QUENDO_COMPLETION "'; complete -p quendo"});
    EXPECT_EQ(result.output, "complete -F _quendo quendo\n");
}

TEST_F(Completion, OffersTheCommandsThatBeginSo) {
    EXPECT_THAT(offered({""}), IsSupersetOf({"add", "list", "options", "doctor"}));
    EXPECT_THAT(offered({"a"}), UnorderedElementsAre("add", "actions"));
    EXPECT_THAT(offered({"--json", "--home", "/tmp", "ver"}), ElementsAre("version"));
}

TEST_F(Completion, OffersTheOptionsOfTheCommandAndOfEverything) {
    EXPECT_THAT(offered({"add", "x", "--"}),
                UnorderedElementsAre("--preset", "--at", "--mac", "--home", "--json", "--quiet", "--help"));
    EXPECT_THAT(offered({"--q"}), ElementsAre("--quiet"));
}

TEST_F(Completion, OffersNoOptionsBehindTwoHyphens) {
    EXPECT_THAT(offered({"add", "--", "--"}), IsEmpty());
}

TEST_F(Completion, OffersPresetsByTheirNamesInAnyCase) {
    EXPECT_THAT(offered({"add", "x", "--preset", "TOM"}),
                ElementsAre("tomorrow-morning", "tomorrow-afternoon", "tomorrow-evening"));
}

TEST_F(Completion, EveryPresetOfferedIsOneThatTheProgramTakes) {
    const auto presets = offered({"add", "x", "--preset", ""});
    EXPECT_EQ(presets.size(), 9U);
    for (const std::string& preset : presets) {
        EXPECT_EQ(run({"add", "x", "--preset", preset}).code, 0) << preset;
    }
}

TEST_F(Completion, OffersValuesBehindAnEqualsSign) {
    EXPECT_THAT(offered({"add", "x", "--preset", "=", "n"}), ElementsAre("next-week"));
    EXPECT_THAT(offered({"export", "--format", "="}), ElementsAre("json", "ics"));
}

TEST_F(Completion, OffersActionsAndFormats) {
    EXPECT_THAT(offered({"postpone", "--action", ""}),
                ElementsAre("short", "later", "morning", "afternoon", "evening"));
    EXPECT_THAT(offered({"export", "--format", "i"}), ElementsAre("ics"));
}

TEST_F(Completion, OffersSettingsAndTheirValues) {
    EXPECT_THAT(offered({"options", ""}), ElementsAre("get", "set", "reset"));
    EXPECT_THAT(offered({"options", "set", "first-weekend", "S"}), ElementsAre("saturday", "sunday"));
    EXPECT_THAT(offered({"options", "set", "has-mac-app", ""}), ElementsAre("true", "false", "none"));
    EXPECT_THAT(offered({"options", "reset", ""}), IsEmpty());
}

TEST_F(Completion, EverySettingOfferedIsOneThatTheProgramKnows) {
    const auto settings = offered({"options", "get", ""});
    EXPECT_EQ(settings.size(), 9U);
    EXPECT_EQ(offered({"options", "set", ""}), settings);
    for (const std::string& setting : settings) {
        EXPECT_EQ(run({"options", "get", setting}).code, 0) << setting;
    }
}

TEST_F(Completion, OffersIdentifiersThatBeginSoInAnyCase) {
    const std::string id = add("x \", \"id\": \"not-an-id");
    const std::string other = add("y");
    EXPECT_THAT(offered({"show", ""}), UnorderedElementsAre(id, other));
    std::string typed = id.substr(0, 8);
    std::transform(typed.begin(), typed.end(), typed.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    EXPECT_THAT(offered({"delete", other, typed}), ElementsAre(id));
}

TEST_F(Completion, OffersDeletedOnesOnlyWhereTheyAreFound) {
    const std::string id = add("x");
    answer({"delete", id});
    EXPECT_THAT(offered({"show", ""}), ElementsAre(id));
    EXPECT_THAT(offered({"delete", ""}), IsEmpty());
}

TEST_F(Completion, AsksTheHomeThatIsTypedAndMakesNone) {
    const std::string home = (folder_.path() / "other").string();
    EXPECT_THAT(offered({"--home", home, "show", ""}), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home));
    const auto id = answer({"--home", home, "add", "x", "--mac"}).at("id").get<std::string>();
    EXPECT_THAT(offered({"--home", home, "show", ""}), ElementsAre(id));
    EXPECT_THAT(offered({"--home", "=", home, "show", ""}), ElementsAre(id));
    environment_["HOME"] = folder_.path().string();
    EXPECT_THAT(offered({"--home", "~/other", "show", ""}), ElementsAre(id));
}

TEST_F(Completion, OneIdentifierIsEnoughForCommandsThatTakeOne) {
    const std::string id = add("x");
    EXPECT_THAT(offered({"show", id, ""}), IsEmpty());
    // bash cuts the time at its colon.
    EXPECT_THAT(offered({"edit", "--at", "18", ":", "00", ""}), ElementsAre(id));
}

TEST_F(Completion, OffersFilesAndFolders) {
    const std::string folder = folder_.path().string();
    std::ofstream(folder + "/reminders one.ics") << "x";
    std::filesystem::create_directory(folder + "/real");
    EXPECT_THAT(offered({"import", folder + "/re"}),
                UnorderedElementsAre(folder + "/reminders one.ics", folder + "/real"));
    EXPECT_THAT(offered({"export", folder + "/reminders one.ics", folder + "/re"}), IsEmpty());
    EXPECT_THAT(offered({"--home", folder + "/re"}), ElementsAre(folder + "/real"));
}

TEST_F(Completion, OffersNothingForATitle) {
    EXPECT_THAT(offered({"add", ""}), IsEmpty());
}

}  // namespace
}  // namespace quendo::testing
