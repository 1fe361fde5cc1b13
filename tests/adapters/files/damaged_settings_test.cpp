/// \file
/// Files of settings that are damaged, foreign or out of reach. Nothing is lost, and one line tells of it.

#include <fcntl.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/file.h>

#include "tests/adapters/files/file_settings_fixture.hpp"
#include "tests/support/child_process.hpp"

namespace quendokit::testing {
namespace {

struct Damage {
    std::string text;
    std::string why;
};

std::vector<Damage> damages() {
    return {
        {"", "it is empty"},
        {" \n", "it is empty"},
        {"\xEF\xBB\xBF", "it is empty"},
        {"no JSON", "it is no JSON object"},
        {"[1]", "it is no JSON object"},
        {"null", "it is no JSON object"},
        {std::string(64, '\0'), "it is no JSON object"},
        {"{", "it breaks off"},
        {R"({"k)", "it breaks off"},
        {R"({"k")", "it breaks off"},
        {R"({"k":)", "it breaks off"},
        {R"({"k":1)", "it breaks off"},
        {R"({"k":1,)", "it breaks off"},
        {R"({"k":"\)", "it breaks off"},
        {R"({"k":1,})", "byte 8 is no JSON"},
        {R"({,"k":1})", "byte 2 is no JSON"},
        {R"({"k" 1})", "byte 6 is no JSON"},
        {R"({k:1})", "byte 2 is no JSON"},
        {R"({"k":})", "byte 6 is no JSON"},
        {R"({"k":01})", "byte 6 is no JSON"},
        {R"({"k":1.})", "byte 6 is no JSON"},
        {R"({"k":-})", "byte 6 is no JSON"},
        {R"({"k":1e})", "byte 6 is no JSON"},
        {R"({"k":NaN})", "byte 6 is no JSON"},
        {R"({"k":tru})", "byte 6 is no JSON"},
        {R"({"k":1 2})", "byte 6 is no JSON"},
        {R"({"k":[1})", "it breaks off"},
        {R"({"k":[1}]})", "byte 9 is no JSON"},
        {R"({"k":[1}})", "byte 6 is no JSON"},
        {R"({"k":1]})", "byte 7 is no JSON"},
        {R"({"k":1} x)", "byte 9 is no JSON"},
        {R"({"k":1}{})", "byte 8 is no JSON"},
        {R"({"k":1 /* why */})", "byte 6 is no JSON"},
        {"{\"k\":\"\xFF\"}", "byte 6 is no JSON"},
        {"{\"k\":[\"\xED\xA0\x80\"]}", "byte 6 is no JSON"},
        {"{\"\xC3\":1}", "byte 2 is no JSON"},
        {R"({"k":"\ud800"})", "byte 6 is no JSON"},
        {R"({"k":1,"k":1})", "the key \"k\" stands in it twice"},
        {R"({"k\n":1,"\u006B\u000A":2})", R"(the key "k\n" stands in it twice)"},
        {"{\"k\":" + std::string(32, '[') + std::string(32, ']') + "}", "it is nested deeper than 32 levels"},
        {"{\"k\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}", "it is nested deeper than 32 levels"},
        {"{\"k\":\"" + std::string(4'000'000, 'x') + "\"}", "it is larger than 4 MB"},
        {std::string(10'000'000, ' '), "it is larger than 4 MB"},
    };
}

class DamagedSettings : public FileSettings {};

TEST_F(DamagedSettings, ADamagedFileIsKeptAndTheBackupTakesItsPlace) {
    for (const auto& [text, why] : damages()) {
        SCOPED_TRACE(text.substr(0, 40));
        const TemporaryFolder ownFolder;
        file = ownFolder.path() / "settings.json";
        const std::string good = "{\n    \"k\": 41\n}\n";
        writeContents(beside(".backup"), good);
        writeContents(file, text);

        const auto examined = FileUserDefaults::examine(file);
        ASSERT_TRUE(examined);
        EXPECT_NE(examined->description.find(why), std::string::npos) << examined->description;
        EXPECT_TRUE(contentsOf(file) == text);

        const auto settings = open();
        expectHolds(*settings, "k", std::int64_t{41});
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].description,
                  file.string() + ": the settings are damaged, " + why +
                      "; the last ones known to be good are used, and the damaged file is kept as " +
                      beside(".damaged-1").string());
        told.clear();
        EXPECT_TRUE(contentsOf(beside(".damaged-1")) == text);
        EXPECT_EQ(contentsOf(file), good);
        EXPECT_EQ(contentsOf(beside(".backup")), good);
        EXPECT_EQ(modeOf(file), 0600U);
        EXPECT_FALSE(FileUserDefaults::examine(file));
    }
}

TEST_F(DamagedSettings, WithoutABackupNothingIsLeftButTheDamagedFile) {
    writeContents(file, "{");
    const auto settings = open();
    EXPECT_EQ(toldOnce(FileUserDefaultsErrorCode::damaged),
              file.string() +
                  ": the settings are damaged, it breaks off; no setting is left, and the damaged file is "
                  "kept as " +
                  beside(".damaged-1").string());
    EXPECT_EQ(contentsOf(beside(".damaged-1")), "{");
    EXPECT_EQ(contentsOf(file), "{}\n");
    settings->set("k", true);
    expectHolds(*open(), "k", true);
    EXPECT_TRUE(told.empty());
}

TEST_F(DamagedSettings, ADamagedBackupIsNone) {
    writeContents(file, "{");
    writeContents(beside(".backup"), "}");
    static_cast<void>(open());
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::damaged).find("no setting is left"), std::string::npos);
    EXPECT_EQ(contentsOf(beside(".backup")), "}");
}

TEST_F(DamagedSettings, DamagedFilesNeverTakeEachOthersPlace) {
    for (const std::string text : {"one", "two", "three"}) {
        writeContents(file, text);
        static_cast<void>(open());
        static_cast<void>(toldOnce(FileUserDefaultsErrorCode::damaged));
    }
    EXPECT_EQ(contentsOf(beside(".damaged-1")), "one");
    EXPECT_EQ(contentsOf(beside(".damaged-2")), "two");
    EXPECT_EQ(contentsOf(beside(".damaged-3")), "three");
}

TEST_F(DamagedSettings, DamageUnderARunningProgramLosesNothingOfWhatItKnows) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    settings->set("k", std::int64_t{2});
    writeContents(file, "{\"k\": ");
    settings->set("news", true);
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::damaged).find("kept as"), std::string::npos);
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": 2,\n    \"news\": true\n}\n");
    EXPECT_EQ(contentsOf(beside(".damaged-1")), "{\"k\": ");

    writeContents(file, "");
    settings->reload();
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::damaged));
    expectHolds(*settings, "k", std::int64_t{2});
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": 2,\n    \"news\": true\n}\n");
}

TEST_F(DamagedSettings, ADiskWithoutSecondNamesKeepsTheDamagedFileToo) {
    writeContents(beside(".backup"), R"({"k": 1})");
    writeContents(file, "damaged");
    writeContents(beside(".damaged-1"), "older");
    disk->failAll("link", EPERM);
    expectHolds(*open(), "k", std::int64_t{1});
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::damaged));
    EXPECT_EQ(contentsOf(beside(".damaged-1")), "older");
    EXPECT_EQ(contentsOf(beside(".damaged-2")), "damaged");
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": 1\n}\n");
}

TEST_F(DamagedSettings, WhereNothingCanBeWrittenTheBackupIsReadAllTheSame) {
    writeContents(beside(".backup"), R"({"k": 1})");
    writeContents(file, "damaged");
    for (const char* call : {"flock", "link", "fsync"}) {
        SCOPED_TRACE(call);
        disk->failAll(call, EROFS);
        expectHolds(*open(), "k", std::int64_t{1});
        const std::string line = toldOnce(FileUserDefaultsErrorCode::damaged);
        EXPECT_NE(line.find("the file stays there"), std::string::npos) << line;
        EXPECT_NE(line.find("Read-only file system"), std::string::npos) << line;
        EXPECT_EQ(contentsOf(file), "damaged");
        disk->mend();
    }
}

TEST_F(DamagedSettings, WhatAnotherProgramHasJustMendedIsLeftToIt) {
    writeContents(beside(".backup"), R"({"k": 1})");
    writeContents(file, "damaged");
    disk->beforeCall = [&](const std::string& call, const std::string& path) {
        if (call == "open" && path == beside(".lock")) {
            writeContents(file, R"({"k": 2})");
        }
    };
    expectHolds(*open(), "k", std::int64_t{2});
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(contentsOf(file), R"({"k": 2})");
    EXPECT_EQ(contentsOf(beside(".backup")), R"({"k": 1})");
}

TEST_F(DamagedSettings, OfAHugeFileOnlyTheBeginningIsRead) {
    writeContents(file, "{");
    std::filesystem::resize_file(file, 1'000'000'000);
    static_cast<void>(open());
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::damaged));
    EXPECT_LT(std::count(disk->calls().begin(), disk->calls().end(), "read"), 1'000);
}

TEST_F(DamagedSettings, FilesThatAreGoodTwiceOverAreRead) {
    for (const std::string text : {"{}", " {\t}\r\n", "\xEF\xBB\xBF{}", R"({"k":[[[[[{"a":"}]"}]]]]]})",
                                   R"({ "a" : "\"" , "b":"\\" })", R"({"":-0,"e":1E+2})"}) {
        writeContents(file, text);
        EXPECT_FALSE(FileUserDefaults::examine(file)) << text;
        static_cast<void>(open());
        EXPECT_TRUE(told.empty()) << text;
        EXPECT_EQ(contentsOf(file), text);
    }
    writeContents(file, "{\"k\":" + std::string(31, '[') + std::string(31, ']') + "}");
    EXPECT_FALSE(FileUserDefaults::examine(file));
}

TEST_F(DamagedSettings, ThereIsNothingToExamineWithoutAFile) {
    EXPECT_FALSE(FileUserDefaults::examine(file));
    EXPECT_FALSE(FileUserDefaults::examine(folder.path() / "no" / "folder"));
}

/// A refused file stays as it is, reads as nothing, and keeps nothing.
class RefusedSettings : public FileSettings {
protected:
    void expectRefused(FileUserDefaultsErrorCode code, const std::string& why) {
        const auto settings = open();
        EXPECT_NE(toldOnce(code).find(why), std::string::npos);
        EXPECT_FALSE(settings->object("k"));
        settings->set("k", std::int64_t{7});
        const std::string line = toldOnce(code);
        EXPECT_NE(line.find(why), std::string::npos) << line;
        EXPECT_NE(line.find("(the change is not saved)"), std::string::npos) << line;
        expectHolds(*settings, "k", std::int64_t{7});
        const auto examined = FileUserDefaults::examine(file);
        EXPECT_TRUE(examined && examined->code == static_cast<int>(code));
    }
};

TEST_F(RefusedSettings, ASymbolicLink) {
    const auto target = folder.path() / "target";
    writeContents(target, R"({"k": 1})");
    std::filesystem::create_symlink(target, file);
    expectRefused(FileUserDefaultsErrorCode::notPermitted, "symbolic link");
    EXPECT_EQ(contentsOf(target), R"({"k": 1})");
    EXPECT_TRUE(std::filesystem::is_symlink(file));
}

TEST_F(RefusedSettings, AFolder) {
    std::filesystem::create_directory(file);
    expectRefused(FileUserDefaultsErrorCode::notPermitted, "no regular file");
}

TEST_F(RefusedSettings, APipeThatNobodyWrites) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    expectRefused(FileUserDefaultsErrorCode::notPermitted, "no regular file");
}

TEST_F(RefusedSettings, AnotherUsersFile) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    writeContents(file, R"({"k": 1})");
    ASSERT_EQ(chown(file.c_str(), nobody, nobody), 0);
    expectRefused(FileUserDefaultsErrorCode::notPermitted, "belongs to another user");
    EXPECT_EQ(contentsOf(file), R"({"k": 1})");
}

TEST_F(RefusedSettings, AFileThatMayNotBeRead) {
    writeContents(file, R"({"k": 1})");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), nobody, nobody), 0);
        ASSERT_EQ(chown(folder.path().c_str(), nobody, nobody), 0);
    }
    EXPECT_EQ(runAsOrdinaryUser([&] {
                  expectRefused(FileUserDefaultsErrorCode::notPermitted, "Permission denied");
                  return HasFailure() ? 1 : 0;
              }),
              0);
}

TEST_F(RefusedSettings, ALockThatIsASymbolicLinkIsNotFollowed) {
    std::filesystem::create_symlink(folder.path() / "target", beside(".lock"));
    const auto settings = open();
    settings->set("k", true);
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::notPermitted).find("symbolic link"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "target"));
}

TEST_F(FileSettings, AFolderThatMayNotBeWrittenIsReadAllTheSame) {
    writeContents(file, R"({"k": 1})");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), nobody, nobody), 0);
        ASSERT_EQ(chown(folder.path().c_str(), nobody, nobody), 0);
    }
    ASSERT_EQ(chmod(folder.path().c_str(), 0500), 0);
    EXPECT_EQ(runAsOrdinaryUser([&] {
                  const auto settings = open();
                  expectHolds(*settings, "k", std::int64_t{1});
                  EXPECT_TRUE(told.empty());
                  settings->set("k", std::int64_t{2});
                  EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::notPermitted).find("writable for you"),
                            std::string::npos);
                  expectHolds(*settings, "k", std::int64_t{2});
                  return HasFailure() ? 1 : 0;
              }),
              0);
    ASSERT_EQ(chmod(folder.path().c_str(), 0700), 0);
    EXPECT_EQ(contentsOf(file), R"({"k": 1})");
}

TEST_F(FileSettings, AnotherProgramAtWorkIsWaitedForOnlySoLong) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    const int other = ::open(beside(".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    settings->set("k", std::int64_t{2});
    static_cast<void>(toldOnce(FileUserDefaultsErrorCode::locked));
    expectHolds(*settings, "k", std::int64_t{2});
    expectHolds(*open(), "k", std::int64_t{1});
    close(other);
    settings->reload();
    EXPECT_TRUE(told.empty());
    expectHolds(*open(), "k", std::int64_t{2});
}

}  // namespace
}  // namespace quendokit::testing
