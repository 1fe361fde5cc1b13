/// \file
/// A file of settings that cannot be used: which commands fail, with which line and exit code, and that it stays.

#include <fstream>
#include <sstream>
#include <unistd.h>

#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using Words = std::vector<std::string>;

/// The evening was set to 20:00.
class QuendoSettingsFile : public QuendoProgram {
protected:
    QuendoSettingsFile() {
        environment_ = {{"HOME", home_.string()}, {"TZ", "Europe/Berlin"}};
        answer({"options", "set", "evening", "20:00"});
    }
    ~QuendoSettingsFile() override {
        // A folder that is closed could not be removed.
        std::error_code ignored;
        fs::permissions(config_, fs::perms::owner_all, ignored);
    }

    [[nodiscard]] std::string settings() const {
        std::ostringstream text;
        text << std::ifstream(file_).rdbuf();
        return text.str();
    }

    /// What shows and changes the settings fails; what can do without them says so and goes on.
    void expectUnusable(int code, const std::string& words) const {
        for (const Words& command : {Words{"options"},
                                     {"options", "get", "evening"},
                                     {"--quiet", "options", "get", "evening"},
                                     {"options", "set", "evening", "19:00"},
                                     {"options", "reset"}}) {
            expectRefused(runUnprivileged(command), code, words);
        }
        for (const Words& command : {Words{"presets"}, {"actions"}, {"add", "x"}, {"list"}}) {
            const ProgramResult result = runUnprivileged(command);
            EXPECT_EQ(result.code, 0) << result.errors;
            EXPECT_NE(result.output, "");
            expectOneLine(result.errors, words);
        }
        EXPECT_EQ(runUnprivileged({"--quiet", "presets"}).errors, "");
    }

    fs::path config_ = home_ / ".config" / "quendo";
    fs::path file_ = config_ / "settings.json";
};

TEST_F(QuendoSettingsFile, ThatMayNotBeRead) {
    fs::permissions(file_, fs::perms::none);
    expectUnusable(1, "settings.json: Permission denied; make the file and its folder readable");
    fs::permissions(file_, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(answer({"options"})["evening"], 72000);
}

TEST_F(QuendoSettingsFile, OfAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file to another user";
    }
    fs::permissions(file_, fs::perms::all);
    ASSERT_EQ(chown(file_.c_str(), 1, 1), 0);
    expectUnusable(1, "settings.json: the file belongs to another user; make it yours");
    ASSERT_EQ(chown(file_.c_str(), 0, 0), 0);
    EXPECT_EQ(answer({"options"})["evening"], 72000);
}

TEST_F(QuendoSettingsFile, ThatIsALink) {
    fs::rename(file_, config_ / "elsewhere");
    fs::create_symlink("elsewhere", file_);
    expectUnusable(1, "settings.json: this is a symbolic link; put the file itself there");
    fs::rename(config_ / "elsewhere", file_);
    EXPECT_EQ(answer({"options"})["evening"], 72000);
}

TEST_F(QuendoSettingsFile, ThatIsAFolder) {
    fs::remove(file_);
    fs::create_directory(file_);
    expectUnusable(1, "settings.json: this is no regular file; move it aside");
    EXPECT_TRUE(fs::is_directory(file_));
}

TEST_F(QuendoSettingsFile, InAFolderThatMayNotBeWritten) {
    const std::string before = settings();
    fs::permissions(config_, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(runUnprivileged({"options", "get", "evening"}).output, "20:00\n");
    for (const Words& command : {Words{"options", "set", "evening", "19:00"}, {"options", "reset"}}) {
        expectRefused(runUnprivileged(command), 1,
                      "Permission denied; make the file and its folder readable and writable for you (the change is "
                      "not saved)\n");
    }
    EXPECT_EQ(settings(), before);
}

TEST_F(QuendoSettingsFile, ThatIsDamagedAndCannotBePutAside) {
    std::ofstream(file_) << "{";
    fs::remove(config_ / "settings.json.backup");
    fs::permissions(config_, fs::perms::owner_read | fs::perms::owner_exec);
    expectUnusable(4, "settings.json: the settings are damaged, it breaks off; no setting is left, and the file stays");
    EXPECT_EQ(settings(), "{");
}

TEST_F(QuendoSettingsFile, ThatIsDamagedIsPutAsideOnceAndTheBackupTakesItsPlace) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon puts it aside, and says so, when it starts";
    }
    answer({"options", "set", "afternoon", "13:00"});
    std::ofstream(file_) << "{";
    const ProgramResult result = run({"options", "get", "evening"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "20:00\n");
    expectOneLine(result.errors, "the last ones known to be good are used, and the damaged file is kept as");
    EXPECT_TRUE(fs::exists(config_ / "settings.json.damaged-1"));
    EXPECT_EQ(answer({"options"})["afternoon"], 43200);
}

}  // namespace
}  // namespace quendo::testing
