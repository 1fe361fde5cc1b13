/// \file
/// The program with a real terminal for its standard streams.

#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::runProgramOnTerminal;

const std::string title = "Ask the neighbours whether they would water the plants while we are away in summer";

/// One upcoming reminder with a title that is longer than the terminal is wide.
class QuendoOnTerminal : public QuendoProgram {
protected:
    QuendoOnTerminal() {
        environment_["TERM"] = "xterm";
        identifier_ = add(title).substr(0, 8);
    }

    [[nodiscard]] std::string shown(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), QUENDO_PROGRAM);
        const ProgramResult result = runProgramOnTerminal(arguments, environment_, 60);
        EXPECT_EQ(result.code, 0) << result.output;
        return result.output;
    }

    std::string identifier_;
};

TEST_F(QuendoOnTerminal, TheListingHasColourAndFitsTheWidth) {
    EXPECT_EQ(shown({"list"}),
              "\x1b[1mUpcoming\x1b[0m\n  " + identifier_ + "  2050-01-02 18:00  Ask the neighbours whether th…\n");
}

TEST_F(QuendoOnTerminal, ThereIsNoColourWithNoColorOrOnADumbTerminal) {
    environment_["NO_COLOR"] = "1";
    const std::string plain = shown({"list"});
    EXPECT_TRUE(plain.starts_with("Upcoming\n")) << plain;
    EXPECT_EQ(plain.find('\x1b'), std::string::npos);
    environment_.erase("NO_COLOR");
    environment_["TERM"] = "dumb";
    EXPECT_EQ(shown({"list"}), plain);
}

TEST_F(QuendoOnTerminal, InAPipeThereIsNoColourAndNothingIsCut) {
    EXPECT_EQ(run({"list"}).output, "Upcoming\n  " + identifier_ + "  2050-01-02 18:00  " + title + "\n");
}

TEST_F(QuendoOnTerminal, DocumentsHaveNoColourEither) {
    EXPECT_EQ(shown({"--json", "list"}), run({"--json", "list"}).output);
}

TEST_F(QuendoOnTerminal, TheDoctorsFindingsHaveColour) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "the lock is the daemon's";
    }
    EXPECT_NE(shown({"doctor"}).find("\x1b[32mok\x1b[0m      lock       free\n"), std::string::npos);
}

}  // namespace
}  // namespace quendo::testing
