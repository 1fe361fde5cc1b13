/// \file
/// What the program refuses, each with one line and its exit code, and that nothing is lost by it.

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include <sys/stat.h>

#include "apps/quendo/program.hpp"
#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

namespace fs = std::filesystem;

class QuendoRefusals : public QuendoProgram {
protected:
    [[nodiscard]] std::string contents() const {
        std::ostringstream text;
        text << std::ifstream(database_, std::ios::binary).rdbuf();
        return text.str();
    }

    void sql(const std::string& statements) const {
        daemon_.stop();
        ASSERT_EQ(quendokit::testing::runProgram({"sqlite3", database_.string(), statements}).code, 0);
    }

    /// Every command that works on the reminders refuses with this code, and the file stays as it is.
    void expectUntouched(int code, const std::string& words) const {
        const std::string before = contents();
        for (const auto& command :
             {std::vector<std::string>{"list"}, {"add", "x", "--mac"}, {"show", "abcd"}, {"delete", "abcd"}}) {
            expectRefusal(command, code, words);
        }
        EXPECT_TRUE(contents() == before);
    }
};

TEST_F(QuendoRefusals, WrongUsage) {
    expectRefusal({}, 2, "no command given");
    expectRefusal({"--json"}, 2, "no command given");
    expectRefusal({"remind"}, 2, "there is no command \"remind\"");
    expectRefusal({"list", "--colour"}, 2, "--colour");
    expectRefusal({"list", "extra"}, 2, "extra");
    expectRefusal({"add"}, 2, "TITLE is required");
    expectRefusal({"show"}, 2, "ID is required");
    expectRefusal({"delete"}, 2, "ID is required");
    expectRefusal({"add", "x", "--at"}, 2, "--at needs a value");
    expectRefusal({"list", "--limit", "many"}, 2, "--limit: \"many\" is no count");
    expectRefusal({"list", "--limit", "-1"}, 2, "--limit");
    expectRefusal({"add", "x", "--at", "18:00", "--at", "19:00"}, 2, "--at is given more than once");
    expectRefusal({"add", "x", "--preset", "1", "--preset", "2"}, 2, "--preset is given more than once");
    expectRefusal({"add", "x", "--preset"}, 2, "--preset needs a value");
    expectRefusal({"presets", "--for", "18:00", "--for", "19:00"}, 2, "--for is given more than once");
    expectRefusal({"presets", "--for"}, 2, "--for needs a value");
    expectRefusal({"add", "x", "--at", "18:00", "--mac"}, 2, "exclude each other");
    expectRefusal({"add", "x", "y", "--mac"}, 2, "y");
    expectRefusal({"--home", "", "list"}, 2, "--home is empty");
    EXPECT_EQ(fs::exists(home_), DaemonBeside::wanted) << "what is refused makes nothing";
}

TEST_F(QuendoRefusals, AWordThatIsNotExpectedIsNamedAsAWhole) {
    expectRefusal({"list", "two words"}, 2, "quendo: \"two words\" was not expected; see");
    expectRefusal({"options", "unset", "evening"}, 2, "quendo: \"unset\" was not expected; see");
    expectRefusal({"list", "--colour", "red"}, 2, "quendo: \"--colour\" was not expected; see");
}

TEST_F(QuendoRefusals, TheFolderBehindHomeIsNoCommand) {
    expectRefusal({"--home", home_.string(), "remind"}, 2, "quendo: there is no command \"remind\"; see");
    expectRefusal({"--home", home_.string()}, 2, "quendo: no command given; see");
}

TEST_F(QuendoRefusals, AFolderForgottenBehindHome) {
    const fs::path before = fs::current_path();
    fs::create_directory(home_);
    fs::current_path(home_);
    for (const auto& words :
         {std::vector<std::string>{"list"}, {"add", "list"}, {"options", "set", "evening", "20:00"}}) {
        std::vector<std::string> arguments{"--home"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        expectRefusal(arguments, 2, "quendo: --home takes \"" + words.front() + "\" for the folder; name the folder");
    }
    expectRefusal({"--home", "--json", "list"}, 2, "quendo: --home takes \"--json\" for the folder");
    expectRefusal({"list", "--home"}, 2, "quendo: --home needs a value");
    EXPECT_EQ(fs::is_empty(home_), !DaemonBeside::wanted);
    EXPECT_EQ(run({"--home", "./list", "list"}).code, 0);
    EXPECT_TRUE(fs::is_directory(home_ / "list"));
    fs::current_path(before);
}

TEST_F(QuendoRefusals, TitlesThatCannotBeMeant) {
    expectRefusal({"add", "", "--mac"}, 2, "the title is empty");
    expectRefusal({"add", " \t\n", "--mac"}, 2, "the title is empty");
    expectRefusal({"add", "\xFF", "--mac"}, 2, "not UTF-8");
}

TEST_F(QuendoRefusals, MomentsThatCannotBeMeant) {
    for (const char* when : {"2020-01-01", "2020-01-01T10:00Z", "@0", "@-5", "@1"}) {
        expectRefusal({"add", "x", "--at", when}, 2, "is not to come");
    }
    expectRefusal({"add", "x", "--at", "2051-02-29"}, 2, "February 2051 has 28 days");
    expectRefusal({"add", "x", "--at", "10000-01-01"}, 2, "10000-01-01");
    expectRefusal({"add", "x", "--at", "tomorrow"}, 2, "tomorrow");
    expectRefusal({"add", "x", "--at", ""}, 2, "\"\"");
    expectRefusal({"add", "x", "--at", "\x1b[31mred"}, 2, "\\u001B[31mred");
}

TEST_F(QuendoRefusals, MomentsFromWhichNoPresetReckons) {
    expectRefusal({"presets", "--for", ""}, 2, "\"\" is no time");
    expectRefusal({"presets", "--for", "tomorrow"}, 2, "\"tomorrow\" is no time");
    expectRefusal({"presets", "--for", "2027-02-29"}, 2, "February 2027 has 28 days");
    expectRefusal({"presets", "--for", "10000-01-01"}, 2, "\"10000-01-01\" is no time");
    expectRefusal({"presets", "--for", "@1e400"}, 2, "\"@1e400\" is no time");
    expectRefusal({"presets", "--for", "+9999999d"}, 2, "beyond the years 0001 to 9999");
    EXPECT_EQ(fs::exists(home_), DaemonBeside::wanted);
}

TEST_F(QuendoRefusals, ALocalTimeThatTheClocksSkipIsMovedAndSaid) {
    const ProgramResult result = run({"--json", "add", "x", "--at", "2027-03-28 02:30"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(nlohmann::json::parse(result.output)["condition"]["date"], "2027-03-28T03:00:00+02:00");
    EXPECT_EQ(result.errors,
              "quendo: the clocks skip \"2027-03-28 02:30\"; taken is the first moment after it, 2027-03-28 03:00\n");
}

TEST_F(QuendoRefusals, QuietKeepsWarningsBackToo) {
    EXPECT_EQ(run({"--quiet", "add", "x", "--at", "2027-03-28 02:30"}).errors, "");
}

TEST_F(QuendoRefusals, ALocalTimeThatComesTwiceMeansTheFirst) {
    EXPECT_EQ(answer({"add", "x", "--at", "2027-10-31 02:30"})["condition"]["date"], "2027-10-31T02:30:00+02:00");
}

TEST_F(QuendoRefusals, IdentifiersThatFitNoReminder) {
    add("x");
    expectRefusal({"show", "abc"}, 2, "too short");
    expectRefusal({"delete", ""}, 2, "too short");
    expectRefusal({"show", "no such reminder"}, 1, "no reminder has the identifier \"no such reminder\"");
}

TEST_F(QuendoRefusals, ControlCharactersOfATitleAreEscapedForAPersonAndKeptForAScript) {
    const std::string title = "red\x1b[31m\nnext \xE2\x80\xAE turned";
    EXPECT_EQ(answer({"add", title, "--at", "2050-01-02"})["title"], title);
    const std::string list = run({"list"}).output;
    EXPECT_NE(list.find("red\\u001B[31m\\u000Anext \\u202E turned"), std::string::npos) << list;
}

TEST_F(QuendoRefusals, ATitleOfAMebibyteIsStored) {
    // Longer than an argument may be, so not through another process.
    setenv("QUENDO_HOME", home_.c_str(), 1);
    EXPECT_EQ(::quendo::run({"--quiet", "add", std::string(1U << 20, 't'), "--mac"}), 0);
    unsetenv("QUENDO_HOME");
    EXPECT_EQ(answer({"list"})[0]["title"].get<std::string>().size(), 1U << 20);
}

TEST_F(QuendoRefusals, BytesThatAreNoTextAreReplacedInAnswers) {
    add("x");
    sql("UPDATE ReminderItem SET title = CAST(x'41FF42' AS TEXT)");
    EXPECT_EQ(answer({"list"})[0]["title"],
              "A\xEF\xBF\xBD"
              "B");
    EXPECT_NE(run({"list"}).output.find("A\\xFFB"), std::string::npos);
}

TEST_F(QuendoRefusals, DatesBeyondTheCalendarAreAnsweredWithoutText) {
    add("x");
    sql("UPDATE ReminderItem SET _datetime = 1e300");
    const auto far = answer({"list"})[0]["condition"];
    EXPECT_TRUE(far["date"].is_null());
    EXPECT_EQ(far["epoch"], 1e300);
    EXPECT_EQ(run({"list"}).code, 0);
    sql("UPDATE ReminderItem SET _datetime = 9e999");
    EXPECT_TRUE(answer({"list"})[0]["condition"]["epoch"].is_null());
    EXPECT_EQ(run({"list"}).code, 0);
}

TEST_F(QuendoRefusals, AnotherProgramsFile) {
    fs::create_directory(home_);
    std::ofstream(database_) << std::string(10'000, 'x');
    chmod(database_.c_str(), 0600);
    expectUntouched(4, "reminders.sqlite: the database is damaged (file is not a database)");
    EXPECT_EQ(run({"doctor"}).code, 4);
}

TEST_F(QuendoRefusals, ADamagedFile) {
    for (int i = 0; i < 5; ++i) {
        add(std::string(2'000, 'x'));
    }
    // Its end would mend the page.
    daemon_.stop();
    std::fstream file(database_, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);
    file << std::string(4096, '\xA5');
    file.close();
    expectUntouched(4, "the database is damaged");
    const ProgramResult doctor = run({"doctor"});
    EXPECT_EQ(doctor.code, 4);
    EXPECT_NE(doctor.output.find("FAILED  database"), std::string::npos) << doctor.output;
}

TEST_F(QuendoRefusals, AFileOfANewerVersion) {
    add("x");
    sql("PRAGMA user_version = 5");
    expectUntouched(4, "a newer version wrote it (schema 5, this program knows 4); update this program");
    EXPECT_EQ(run({"doctor"}).code, 4);
}

TEST_F(QuendoRefusals, NoHomeFolder) {
    environment_.clear();
    expectRefusal({"list"}, 2, "there is no home folder");
    environment_["HOME"] = "/dev/null";
    expectRefusal({"list"}, 1, "/dev/null");
}

TEST_F(QuendoRefusals, AReadOnlyHome) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "the rights bind the command, and not a daemon";
    }
    add("x");
    fs::permissions(home_, fs::perms::owner_read | fs::perms::owner_exec);
    const std::string before = contents();
    for (const char* command : {"list", "doctor"}) {
        const ProgramResult result = runUnprivileged({command});
        EXPECT_EQ(result.code, 1) << result.errors << result.output;
        EXPECT_NE((result.errors + result.output).find(home_.string()), std::string::npos) << result.errors;
    }
    EXPECT_TRUE(contents() == before);
    fs::permissions(home_, fs::perms::owner_all);
}

TEST_F(QuendoRefusals, AFullDisk) {
    // A small disk of its own, seen by this process alone.
    const std::string script = "mount -t tmpfs -o size=512k,mode=700 none '" + folder_.path().string() +
                               "' || exit 77\n" + "export QUENDO_HOME='" + home_.string() +
                               "'\n'" QUENDO_PROGRAM "' --quiet add kept --mac || exit 78\n" + "dd if=/dev/zero of='" +
                               folder_.path().string() + "/filler' bs=1k 2>/dev/null\n" +
                               "'" QUENDO_PROGRAM "' add lost --mac; code=$?\n" + "rm '" + folder_.path().string() +
                               "/filler'\n'" QUENDO_PROGRAM "' --json list | grep -c kept\nexit $code\n";
    const ProgramResult result =
        quendokit::testing::runProgram({"unshare", "--mount", "sh", "-c", script}, environment_);
    if (result.code == 77 || result.errors.find("unshare") != std::string::npos) {
        GTEST_SKIP() << "this user may not mount a disk: " << result.errors;
    }
    EXPECT_EQ(result.code, 1) << result.errors;
    EXPECT_EQ(result.output, "1\n");
    EXPECT_NE(result.errors.find("the disk is full"), std::string::npos) << result.errors;
}

TEST_F(QuendoRefusals, FilesThatMayNotGrow) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "the limit binds the command, and not a daemon";
    }
    add("kept");
    const ProgramResult result = quendokit::testing::runProgram(
        {"sh", "-c", "ulimit -f 0; exec '" QUENDO_PROGRAM "' add lost --mac"}, environment_);
    expectRefused(result, 1, "File too large");
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoRefusals, AReaderThatHasGoneIsNoError) {
    add("x");
    const ProgramResult gone = quendokit::testing::runProgram(
        {"bash", "-c", "'" QUENDO_PROGRAM "' list | true; echo ${PIPESTATUS[0]}"}, environment_);
    EXPECT_EQ(gone.output, "0\n");
    EXPECT_EQ(gone.errors, "");
    const ProgramResult closed =
        quendokit::testing::runProgram({"bash", "-c", "'" QUENDO_PROGRAM "' list >&-; echo $?"}, environment_);
    EXPECT_EQ(closed.output, "0\n");
    EXPECT_EQ(closed.errors, "");
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoRefusals, AnAnswerThatCannotBeWrittenIsAnError) {
    add("x");
    const ProgramResult result =
        quendokit::testing::runProgram({"bash", "-c", "'" QUENDO_PROGRAM "' list >/dev/full"}, environment_);
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.errors.find("standard output: No space left on device"), std::string::npos) << result.errors;
}

}  // namespace
}  // namespace quendo::testing
