#include "adapters/linux/linux_folders.hpp"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

class LinuxFoldersTest : public ::testing::Test {
protected:
    const ScopedEnvironment data_{"XDG_DATA_HOME", nullptr};
    const ScopedEnvironment config_{"XDG_CONFIG_HOME", nullptr};
    const ScopedEnvironment state_{"XDG_STATE_HOME", nullptr};
    const ScopedEnvironment home_{"HOME", "/home/ada"};
};

TEST_F(LinuxFoldersTest, LieBelowHomeWhereTheEnvironmentNamesNone) {
    const auto folders = LinuxFolders::xdg("notes");
    ASSERT_TRUE(folders);
    EXPECT_EQ(folders->data, "/home/ada/.local/share/notes");
    EXPECT_EQ(folders->config, "/home/ada/.config/notes");
    EXPECT_EQ(folders->state, "/home/ada/.local/state/notes");
    EXPECT_EQ(folders->database(), "/home/ada/.local/share/notes/reminders.sqlite");
    EXPECT_EQ(folders->settings(), "/home/ada/.config/notes/settings.json");
    EXPECT_FALSE(fs::exists("/home/ada"));
}

TEST_F(LinuxFoldersTest, LieWhereTheEnvironmentSays) {
    const ScopedEnvironment data("XDG_DATA_HOME", "/d");
    const ScopedEnvironment config("XDG_CONFIG_HOME", "/c");
    const ScopedEnvironment state("XDG_STATE_HOME", "/s");
    const ScopedEnvironment home("HOME", nullptr);
    const auto folders = LinuxFolders::xdg("notes");
    ASSERT_TRUE(folders);
    EXPECT_EQ(folders->data, "/d/notes");
    EXPECT_EQ(folders->config, "/c/notes");
    EXPECT_EQ(folders->state, "/s/notes");
}

TEST_F(LinuxFoldersTest, ARelativeOrEmptyFolderDoesNotCount) {
    const ScopedEnvironment data("XDG_DATA_HOME", "d");
    const ScopedEnvironment config("XDG_CONFIG_HOME", "");
    const auto folders = LinuxFolders::xdg("notes");
    ASSERT_TRUE(folders);
    EXPECT_EQ(folders->data, "/home/ada/.local/share/notes");
    EXPECT_EQ(folders->config, "/home/ada/.config/notes");
}

TEST_F(LinuxFoldersTest, AreAbsentWithoutAHome) {
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        const ScopedEnvironment home("HOME", none);
        EXPECT_FALSE(LinuxFolders::xdg("notes"));
    }
}

TEST_F(LinuxFoldersTest, MayBeOneFolder) {
    const LinuxFolders folders = LinuxFolders::inOne("/one");
    EXPECT_EQ(folders.database(), "/one/reminders.sqlite");
    EXPECT_EQ(folders.settings(), "/one/settings.json");
    EXPECT_EQ(folders.state, "/one");
}

}  // namespace
}  // namespace quendokit::testing
