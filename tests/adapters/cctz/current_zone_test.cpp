#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "tests/adapters/cctz/zone_printers.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit {
namespace {

namespace fs = std::filesystem;
using testing::ScopedEnvironment;

constexpr Date november(1'795'302'000);
const fs::path zoneData = "/usr/share/zoneinfo";

std::string currentName(const char* tz) {
    const ScopedEnvironment environment("TZ", tz);
    return LocalTimeZone::current()->name();
}

TEST(CurrentZone, IsTheOneThatTZNames) {
    const ScopedEnvironment environment("TZ", "Europe/Berlin");
    const auto zone = LocalTimeZone::current();
    EXPECT_EQ(zone->name(), "Europe/Berlin");
    EXPECT_EQ(zone->offset(november), 3'600);
}

TEST(CurrentZone, IgnoresAColonBeforeTheName) {
    EXPECT_EQ(currentName(":Europe/Berlin"), "Europe/Berlin");
}

TEST(CurrentZone, IsUtcWhenTZIsEmpty) {
    EXPECT_EQ(currentName(""), "UTC");
    EXPECT_EQ(currentName(":"), "UTC");
}

TEST(CurrentZone, IsUtcWhenTZCannotBeUnderstood) {
    for (const char* tz : {"Mars/Olympus", "Europe", "ABC", "AB5", "<+03", "<+03>", "/etc/hostname"}) {
        const ScopedEnvironment environment("TZ", tz);
        EXPECT_EQ(LocalTimeZone::current()->name(), "UTC") << tz;
        EXPECT_EQ(LocalTimeZone::current()->offset(november), 0) << tz;
    }
}

TEST(CurrentZone, IsTheFileWhosePathTZHolds) {
    EXPECT_EQ(currentName("/usr/share/zoneinfo/Asia/Kathmandu"), "Asia/Kathmandu");
}

TEST(CurrentZone, IsThatOfTheDeviceWithoutTZ) {
    const ScopedEnvironment environment("TZ", nullptr);
    const auto device = LocalTimeZone::fromFile("/etc/localtime");
    const auto current = LocalTimeZone::current();
    EXPECT_EQ(current->name(), device ? device->name() : "UTC");
    const auto now = static_cast<std::time_t>(november.timeIntervalSince1970());
    std::tm fields{};
    ::tzset();
    ::localtime_r(&now, &fields);
    EXPECT_EQ(current->offset(november), fields.tm_gmtoff);
}

TEST(CurrentZone, IsReadAnewByEachCall) {
    const ScopedEnvironment berlin("TZ", "Europe/Berlin");
    const auto before = LocalTimeZone::current();
    const ScopedEnvironment tokyo("TZ", "Asia/Tokyo");
    EXPECT_EQ(LocalTimeZone::current()->name(), "Asia/Tokyo");
    EXPECT_EQ(LocalTimeZone::current()->offset(november), 32'400);
    EXPECT_EQ(before->offset(november), 3'600);
}

/// A folder of its own for links and files like /etc/localtime.
class ZoneFile : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "quendokit-zone-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        file = folder / "localtime";
    }
    void TearDown() override { fs::remove_all(folder); }

    /// Puts a copy of a zone in the file's place, as a package manager does.
    void replaceByCopyOf(const std::string& name) const {
        fs::copy_file(zoneData / name, folder / "new", fs::copy_options::overwrite_existing);
        fs::rename(folder / "new", file);
    }

    [[nodiscard]] std::string nameOfFile() const {
        const auto zone = LocalTimeZone::fromFile(file);
        return zone ? zone->name() : "none";
    }

    fs::path folder;
    fs::path file;
};

TEST_F(ZoneFile, ALinkIntoTheZoneDataHasTheNameBehindIt) {
    fs::create_symlink(zoneData / "America/Argentina/Ushuaia", file);
    EXPECT_EQ(nameOfFile(), "America/Argentina/Ushuaia");
    EXPECT_EQ(LocalTimeZone::fromFile(file)->offset(november), -10'800);
}

TEST_F(ZoneFile, ARelativeLinkHasThatNameToo) {
    fs::create_symlink(fs::relative(zoneData / "Asia/Kathmandu", fs::canonical(folder)), file);
    EXPECT_EQ(nameOfFile(), "Asia/Kathmandu");
}

TEST_F(ZoneFile, LinksAreFollowedUntilOneNamesTheZone) {
    fs::create_symlink(zoneData / "Asia/Kathmandu", folder / "second");
    fs::create_symlink("second", file);
    EXPECT_EQ(nameOfFile(), "Asia/Kathmandu");
}

TEST_F(ZoneFile, ACopyIsNamedByItsPath) {
    replaceByCopyOf("Asia/Kathmandu");
    EXPECT_EQ(nameOfFile(), file.string());
    EXPECT_EQ(LocalTimeZone::fromFile(file)->offset(november), 20'700);
}

TEST_F(ZoneFile, ACopyThatWasReplacedIsReadAgain) {
    replaceByCopyOf("Europe/Berlin");
    const auto before = LocalTimeZone::fromFile(file);
    replaceByCopyOf("Asia/Tokyo");
    EXPECT_EQ(LocalTimeZone::fromFile(file)->offset(november), 32'400);
    EXPECT_EQ(before->offset(november), 3'600);
}

TEST_F(ZoneFile, ALinkThatWasTurnedIsFollowedAgain) {
    fs::create_symlink(zoneData / "Europe/Berlin", file);
    EXPECT_EQ(nameOfFile(), "Europe/Berlin");
    fs::remove(file);
    fs::create_symlink(zoneData / "Asia/Tokyo", file);
    EXPECT_EQ(nameOfFile(), "Asia/Tokyo");
    EXPECT_EQ(LocalTimeZone::fromFile(file)->offset(november), 32'400);
}

TEST_F(ZoneFile, AFileThatBecomesZoneDataIsUnderstood) {
    std::ofstream(file) << "not yet";
    EXPECT_EQ(nameOfFile(), "none");
    replaceByCopyOf("Asia/Tokyo");
    EXPECT_EQ(nameOfFile(), file.string());
}

TEST_F(ZoneFile, WhatHoldsNoZoneMakesNone) {
    EXPECT_EQ(nameOfFile(), "none");
    fs::create_symlink("localtime", file);
    EXPECT_EQ(nameOfFile(), "none");
    fs::remove(file);
    fs::create_symlink(folder / "nowhere", file);
    EXPECT_EQ(nameOfFile(), "none");
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_EQ(nameOfFile(), "none");
}

TEST_F(ZoneFile, APipeIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(nameOfFile(), "none");
}

TEST_F(ZoneFile, TZDIRSaysWhereNamesAreLookedUp) {
    replaceByCopyOf("Asia/Kathmandu");
    const ScopedEnvironment environment("TZDIR", folder.c_str());
    const auto zone = LocalTimeZone::make("localtime");
    ASSERT_NE(zone, nullptr);
    EXPECT_EQ(zone->name(), "localtime");
    EXPECT_EQ(zone->offset(november), 20'700);
    EXPECT_EQ(LocalTimeZone::make("Europe/Berlin"), nullptr);
}

}  // namespace
}  // namespace quendokit
