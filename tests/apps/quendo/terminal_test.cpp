#include "apps/quendo/terminal.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include "tests/support/scoped_environment.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::ScopedEnvironment;

/// A terminal of 70 columns, and an environment that knows what it is.
class Terminal : public ::testing::Test {
protected:
    Terminal() {
        const winsize size{24, 70, 0, 0};
        if (openpty(&controller_, &terminal_, nullptr, nullptr, &size) != 0) {
            std::abort();
        }
    }
    ~Terminal() override {
        close(terminal_);
        close(controller_);
    }

    ScopedEnvironment term_{"TERM", "xterm"};
    ScopedEnvironment noColour_{"NO_COLOR", nullptr};
    int controller_ = -1;
    int terminal_ = -1;
};

TEST_F(Terminal, HasColourAndItsWidth) {
    const Style style = styleOf(terminal_);
    EXPECT_TRUE(style.colour);
    EXPECT_EQ(style.columns, 70U);
}

TEST_F(Terminal, OfUnknownWidthIsTakenForEightyColumns) {
    const winsize unknown{};
    ASSERT_EQ(ioctl(terminal_, TIOCSWINSZ, &unknown), 0);
    EXPECT_EQ(styleOf(terminal_).columns, usualColumns);
}

TEST_F(Terminal, HasNoColourWithNoColorSet) {
    const ScopedEnvironment noColour("NO_COLOR", "1");
    EXPECT_FALSE(styleOf(terminal_).colour);
    EXPECT_EQ(styleOf(terminal_).columns, 70U);
}

TEST_F(Terminal, HasColourWithNoColorEmpty) {
    const ScopedEnvironment noColour("NO_COLOR", "");
    EXPECT_TRUE(styleOf(terminal_).colour);
}

TEST_F(Terminal, HasNoColourWhenDumbOrUnnamed) {
    for (const char* const name : {"dumb", "", static_cast<const char*>(nullptr)}) {
        const ScopedEnvironment term("TERM", name);
        EXPECT_FALSE(styleOf(terminal_).colour) << (name == nullptr ? "none" : name);
        EXPECT_EQ(styleOf(terminal_).columns, 70U);
    }
}

TEST_F(Terminal, AFileIsNone) {
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const Style style = styleOf(file);
    close(file);
    EXPECT_FALSE(style.colour);
    EXPECT_EQ(style.columns, std::nullopt);
}

TEST(StyleMarked, WithColourPutsTheCodesAroundTheText) {
    const Style style{.colour = true};
    EXPECT_EQ(style.marked(Emphasis::heading, "x"), "\x1b[1mx\x1b[0m");
    EXPECT_EQ(style.marked(Emphasis::faint, "x"), "\x1b[2mx\x1b[0m");
    EXPECT_EQ(style.marked(Emphasis::good, "x"), "\x1b[32mx\x1b[0m");
    EXPECT_EQ(style.marked(Emphasis::bad, "x"), "\x1b[1m\x1b[31mx\x1b[0m");
}

TEST(StyleMarked, WithColourLeavesPlainAndEmptyTextAlone) {
    const Style style{.colour = true};
    EXPECT_EQ(style.marked(Emphasis::none, "x"), "x");
    EXPECT_EQ(style.marked(Emphasis::heading, ""), "");
}

TEST(StyleMarked, WithoutColourLeavesAllTextAlone) {
    const Style style;
    for (const Emphasis emphasis :
         {Emphasis::none, Emphasis::heading, Emphasis::faint, Emphasis::good, Emphasis::bad}) {
        EXPECT_EQ(style.marked(emphasis, "x"), "x");
    }
}

}  // namespace
}  // namespace quendo::testing
