/// \file
/// What a file of settings holds, and what becomes of it when several programs write it.

#include <string>

#include <gtest/gtest.h>

#include "tests/adapters/files/file_settings_fixture.hpp"

namespace quendokit::testing {
namespace {

TEST_F(FileSettings, ReadingMakesNoFile) {
    file = folder.path() / "a" / "settings.json";
    const auto settings = open();
    EXPECT_FALSE(settings->object("k"));
    settings->remove("k");
    settings->reload();
    EXPECT_EQ(fileNames(), Names{});
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, TheFileAndItsFolderAreForTheirOwnerAlone) {
    file = folder.path() / "a" / "b" / "settings.json";
    const auto settings = open();
    settings->set("k", true);
    settings->set("k", false);
    EXPECT_EQ(modeOf(folder.path() / "a"), 0700U);
    EXPECT_EQ(modeOf(folder.path() / "a" / "b"), 0700U);
    for (const char* suffix : {"", ".backup", ".lock"}) {
        EXPECT_EQ(modeOf(beside(suffix)), 0600U) << suffix;
    }
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, TheProcessMayMaskAnyRights) {
    for (const mode_t mask : {mode_t{0777}, mode_t{0}}) {
        const mode_t before = umask(mask);
        const auto settings = open();
        settings->set("k", static_cast<std::int64_t>(mask));
        settings->set("again", static_cast<std::int64_t>(mask));
        umask(before);
        for (const char* suffix : {"", ".backup", ".lock"}) {
            EXPECT_EQ(modeOf(beside(suffix)), 0600U) << suffix;
        }
    }
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, AFileOpenToOthersIsClosedToThem) {
    writeContents(file, "{}");
    chmod(file.c_str(), 0664);
    static_cast<void>(open());
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, TheFormOfTheFile) {
    const auto settings = open();
    settings->set("quendokit.options.evening", std::int64_t{64'800});
    settings->set("quendokit.options.has-mac-app", true);
    settings->set("a double", 1.0);
    settings->set("a \"text\"", "caf\xC3\xA9\n");
    settings->set("bytes", std::vector<std::byte>{std::byte{0xFF}, std::byte{0}});
    settings->set("no UTF-8", "\xFF");
    settings->set("not a number", std::numeric_limits<double>::quiet_NaN());
    settings->set("plus", std::numeric_limits<double>::infinity());
    settings->set("minus", -std::numeric_limits<double>::infinity());
    EXPECT_EQ(contentsOf(file), R"({
    "a \"text\"": "café\n",
    "a double": 1.0,
    "bytes": {"data": "/wA="},
    "minus": {"number": "-infinity"},
    "no UTF-8": {"text": "/w=="},
    "not a number": {"number": "nan"},
    "plus": {"number": "infinity"},
    "quendokit.options.evening": 64800,
    "quendokit.options.has-mac-app": true
}
)");
    settings->remove("a double");
    for (const char* key : {"a \"text\"", "bytes", "no UTF-8", "not a number", "plus", "minus",
                            "quendokit.options.evening", "quendokit.options.has-mac-app"}) {
        settings->remove(key);
    }
    EXPECT_EQ(contentsOf(file), "{}\n");
}

TEST_F(FileSettings, AwkwardValuesAreThereInTheNextRunToo) {
    const auto values = awkwardPropertyValues();
    const auto settings = open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        settings->set(std::to_string(i), values[i]);
    }
    const auto next = open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        expectHolds(*next, std::to_string(i), values[i]);
    }
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, ValuesOfOtherKindsReadAsAbsentAndStayLetterByLetter) {
    const std::string others = R"("a list": [ 1,  "two",{"three":3}],
    "a null": null,
    "a number within": [1e400],
    "an exact number": 0.10000000000000000000000000000001e0,
    "an object": {"data": "no base64!"},
    "another object": {"data": "AA==", "more": 1},
    "escaped": "\u0041\/",
    "much too large": 12345678901234567890123456789012345678901234567890,
    "over 64 bits": 9223372036854775808,
    "stranger": {"text": 1},
    "under 64 bits": -9223372036854775809,
    "what number": {"number": "seven"},
    "without end": 1e400)";
    writeContents(file, "{" + others + "}");
    const auto settings = open();
    for (const char* key : {"a list", "a null", "a number within", "an object", "another object", "much too large",
                            "over 64 bits", "stranger", "under 64 bits", "what number", "without end"}) {
        EXPECT_FALSE(settings->object(key)) << key;
    }
    expectHolds(*settings, "an exact number", 0.1);
    expectHolds(*settings, "escaped", "A/");

    settings->set("zz", true);
    EXPECT_EQ(contentsOf(file), "{\n    " + others + ",\n    \"zz\": true\n}\n");
    settings->set("a list", std::int64_t{1});
    settings->remove("a null");
    expectHolds(*settings, "a list", std::int64_t{1});
    EXPECT_EQ(contentsOf(file).find("two"), std::string::npos);
    EXPECT_EQ(contentsOf(file).find("null"), std::string::npos);
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, WhatIsThereAlreadyIsNotWritten) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    disk->forget();
    settings->set("k", std::int64_t{1});
    settings->remove("absent");
    EXPECT_EQ(disk->calls(), (std::vector<std::string>{"open", "fstat", "read", "read", "close",  //
                                                       "open", "fstat", "read", "read", "close"}));
    disk->forget();
    settings->set("k", 1.0);
    EXPECT_EQ(std::count(disk->calls().begin(), disk->calls().end(), "rename"), 2);
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, WhatWasThereButWasChangedByAnotherIsWritten) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    settings->remove("gone");
    const auto other = open();
    other->set("k", std::int64_t{2});
    other->set("gone", std::int64_t{2});
    settings->set("k", std::int64_t{1});
    settings->remove("gone");
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": 1\n}\n");
}

TEST_F(FileSettings, AChangeIsDurableWhenItReturns) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    disk->forget();
    settings->set("k", std::int64_t{2});
    // The new file is synced before it takes its name, and the folder afterwards.
    std::vector<std::string> order;
    for (const std::string& call : disk->calls()) {
        if (call == "write" || call == "fsync" || call == "rename") {
            order.push_back(call);
        }
    }
    EXPECT_EQ(order, (std::vector<std::string>{"write", "fsync", "write", "rename", "rename", "fsync"}));
}

TEST_F(FileSettings, TheBackupHoldsWhatWasThereBefore) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    EXPECT_EQ(fileNames(), (Names{"settings.json", "settings.json.lock"}));
    const std::string first = contentsOf(file);
    settings->set("k", std::int64_t{2});
    EXPECT_EQ(fileNames(), (Names{"settings.json", "settings.json.backup", "settings.json.lock"}));
    EXPECT_EQ(contentsOf(beside(".backup")), first);
}

TEST_F(FileSettings, AWriteKeepsWhatAnotherProgramHasWritten) {
    const auto one = open();
    const auto other = open();
    one->set("common", std::int64_t{1});
    one->set("one's", "1");
    other->set("other's", "2");
    other->set("common", std::int64_t{2});
    EXPECT_FALSE(one->object("other's"));
    expectHolds(*one, "common", std::int64_t{1});

    one->set("news", true);
    expectHolds(*one, "other's", "2");
    expectHolds(*one, "common", std::int64_t{2});
    expectHolds(*one, "one's", "1");
    expectHolds(*open(), "other's", "2");
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, ReloadingTakesOverWhatAnotherProgramHasWritten) {
    const auto one = open();
    one->set("removed", true);
    one->set("replaced", std::int64_t{1});
    const auto other = open();
    other->remove("removed");
    other->set("replaced", std::int64_t{2});
    other->set("new", 1.5);
    expectHolds(*one, "removed", true);

    const std::string before = contentsOf(file);
    one->reload();
    EXPECT_FALSE(one->object("removed"));
    expectHolds(*one, "replaced", std::int64_t{2});
    expectHolds(*one, "new", 1.5);
    EXPECT_EQ(contentsOf(file), before);
}

TEST_F(FileSettings, AFileThatSomebodyRemovedIsForgotten) {
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    std::filesystem::remove(file);
    expectHolds(*settings, "k", std::int64_t{1});
    settings->set("news", std::int64_t{2});
    EXPECT_FALSE(settings->object("k"));
    EXPECT_EQ(contentsOf(file), "{\n    \"news\": 2\n}\n");
    std::filesystem::remove(file);
    settings->reload();
    EXPECT_FALSE(settings->object("news"));
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, AKeyThatIsNotUTF8HoldsInThisProgramOnly) {
    const auto settings = open();
    settings->set("k", true);
    settings->set("\xFF\n", std::int64_t{1});
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::invalidValue).find("UTF-8"), std::string::npos);
    settings->set("k", false);
    expectHolds(*settings, "\xFF\n", std::int64_t{1});
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": false\n}\n");
    EXPECT_TRUE(told.empty());
    EXPECT_FALSE(open()->object("\xFF\n"));
}

TEST_F(FileSettings, AValueThatMakesTheFileTooLargeHoldsInThisProgramOnly) {
    const auto settings = open();
    settings->set("k", true);
    const std::string large(4'000'000, 'x');
    settings->set("large", large);
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::invalidValue).find("\"large\""), std::string::npos);
    expectHolds(*settings, "large", large);
    settings->set("k", false);
    expectHolds(*settings, "large", large);
    EXPECT_EQ(contentsOf(file), "{\n    \"k\": false\n}\n");

    settings->set("large", large.substr(0, 3'999'900));
    EXPECT_TRUE(told.empty());
    EXPECT_GT(contentsOf(file).size(), 3'999'900U);
    expectHolds(*open(), "large", large.substr(0, 3'999'900));
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, WhatACrashHasLeftIsNoHindrance) {
    writeContents(beside(".new"), "half a fi");
    writeContents(folder.path() / "elsewhere", "untouched");
    std::filesystem::create_symlink(folder.path() / "elsewhere", beside(".backup.new"));
    const auto settings = open();
    settings->set("k", std::int64_t{1});
    settings->set("k", std::int64_t{2});
    EXPECT_EQ(contentsOf(folder.path() / "elsewhere"), "untouched");
    EXPECT_EQ(fileNames(), (Names{"elsewhere", "settings.json", "settings.json.backup", "settings.json.lock"}));
    EXPECT_TRUE(told.empty());
}

TEST_F(FileSettings, ANewFileIsNoneThatIsThereAlready) {
    const auto settings = open();
    disk->beforeCall = [&](const std::string& call, const std::string& path) {
        if (call == "open" && path == beside(".new")) {
            writeContents(path, "another's");
        }
    };
    settings->set("k", true);
    EXPECT_NE(toldOnce(FileUserDefaultsErrorCode::unavailable).find("File exists"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(FileSettings, ManySettingsAreFoundAndRemoved) {
    std::string text = "{";
    for (int i = 0; i < 1'000; ++i) {
        text += (i == 0 ? "\"" : ",\"") + std::to_string(i * i) + ".same end of all keys\":" + std::to_string(i);
    }
    writeContents(file, text + "}");
    const auto settings = open();
    for (std::int64_t i = 0; i < 1'000; ++i) {
        expectHolds(*settings, std::to_string(i * i) + ".same end of all keys", i);
    }
    EXPECT_FALSE(settings->object("7.same end of all keys"));
    writeContents(file, "{}");
    settings->reload();
    for (std::int64_t i = 0; i < 1'000; ++i) {
        EXPECT_FALSE(settings->object(std::to_string(i * i) + ".same end of all keys"));
    }
}

}  // namespace
}  // namespace quendokit::testing
