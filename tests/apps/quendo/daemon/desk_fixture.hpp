#pragma once
/// \file
/// `DaemonAtADesk`, a daemon, commands beside it, and the buses of a desktop that a test plays.

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/adapters/dbus/session_fixture.hpp"
#include "tests/apps/quendo/daemon/mock_screen.hpp"
#include "tests/apps/quendo/daemon_process.hpp"
#include "tests/support/program.hpp"

namespace quendo::testing {

/// The daemon and the services come when the test asks for them; the clocks are those of Berlin.
class DaemonAtADesk : public quendokit::testing::SessionFixture {
protected:
    using Environment = std::map<std::string, std::string>;
    using ProgramResult = quendokit::testing::ProgramResult;
    using json = nlohmann::json;

    void TearDown() override { stop(); }

    void start() { daemon = std::make_unique<DaemonProcess>(environment); }
    /// Its end must be a clean one.
    void stop() {
        if (daemon) {
            EXPECT_EQ(daemon->end(SIGTERM), 0) << daemon->lines();
            daemon = nullptr;
        }
    }
    void restart() {
        stop();
        start();
    }
    /// Starts it and lets it end `ago`, as "3h", with what `command` stores then in the middle.
    void startAndStop(const std::string& ago, const std::vector<std::string>& command) {
        const Environment now = std::exchange(environment, asOf(ago));
        start();
        answer(command);
        stop();
        environment = now;
    }
    /// Everything as it is, but for the clock.
    [[nodiscard]] Environment asOf(const std::string& ago) const {
        Environment past = environment;
        past["LD_PRELOAD"] = QUENDO_FAKETIME;
        past["FAKETIME"] = "-" + ago;
        past["FAKETIME_DONT_FAKE_MONOTONIC"] = "1";
        past["ASAN_OPTIONS"] = "verify_asan_link_order=0";
        return past;
    }

    [[nodiscard]] static ProgramResult runIn(const Environment& environment, std::vector<std::string> words) {
        words.insert(words.begin(), QUENDO_PROGRAM);
        return quendokit::testing::runProgram(words, environment);
    }
    [[nodiscard]] ProgramResult run(std::vector<std::string> words) const {
        return runIn(environment, std::move(words));
    }
    json answerIn(const Environment& where, std::vector<std::string> words) const {
        words.insert(words.begin(), "--json");
        const ProgramResult result = runIn(where, std::move(words));
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return json::parse(result.output, nullptr, false);
    }
    json answer(std::vector<std::string> words) const { return answerIn(environment, std::move(words)); }
    /// Stores one that is due so soon that a test can wait for it, yet not before it is stored.
    json addSoon(const std::string& title) const { return answer({"add", title, "--at", "+3s"}); }
    [[nodiscard]] json show(const std::string& id) const { return answer({"show", id}); }
    [[nodiscard]] bool waitUntilSeen(const std::string& id) const {
        return waitUntil([&] { return show(id).at("shown") == true; });
    }
    /// Whether a reminder gets another moment in the end, so many seconds later than `before`.
    [[nodiscard]] bool waitUntilLater(const json& before, double seconds) const {
        return waitUntil([&] { return momentOf(show(before.at("id"))) == momentOf(before) + seconds; });
    }
    static double momentOf(const json& reminder) { return reminder.at("condition").value("epoch", 0.0); }

    /// Shows one reminder more, before which everything has arrived that was on its way.
    void expectNothingElseIsShown(MockScreen& screen) {
        auto expected = screen.summaries();
        addSoon("the last one");
        expected.emplace_back("the last one");
        ASSERT_TRUE(screen.waitForNotices(expected.size()));
        EXPECT_EQ(screen.summaries(), expected);
    }
    [[nodiscard]] std::size_t linesWith(const std::string& words) const {
        std::istringstream lines(daemon->lines());
        std::size_t count = 0;
        for (std::string line; std::getline(lines, line);) {
            count += line.find(words) != std::string::npos ? 1 : 0;
        }
        return count;
    }
    [[nodiscard]] bool waitForLine(const std::string& words) const {
        return waitUntil([&] { return linesWith(words) > 0; });
    }

private:
    const quendokit::testing::TemporaryFolder folder_;

protected:
    Environment environment{{"QUENDO_HOME", (folder_.path() / "home").string()},
                            {"TZ", "Europe/Berlin"},
                            {"LC_ALL", "C.UTF-8"},
                            {"DBUS_SESSION_BUS_ADDRESS", sessionBus.address()},
                            {"DBUS_SYSTEM_BUS_ADDRESS", systemBus.address()}};
    std::unique_ptr<DaemonProcess> daemon;
};

}  // namespace quendo::testing
