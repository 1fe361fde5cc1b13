#pragma once
/// \file
/// `TwoHomes`, two homes of one person and a server of their own.

#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/apps/quendo/program_fixture.hpp"
#include "tests/support/cloudd_process.hpp"

namespace quendo::testing {

using nlohmann::json;
using quendokit::testing::ClouddProcess;
using quendokit::testing::TemporaryFolder;
using ::testing::HasSubstr;
using ::testing::Not;

/// Homes "a" and "b", not connected yet; real processes, sockets and files.
class TwoHomes : public ::testing::Test {
protected:
    static constexpr const char* container = "iCloud.net.example.reminders";

    TwoHomes() {
        tokens_["a"] = server->addUser("ann");
        tokens_["b"] = server->addDevice("ann", "b");
    }

    [[nodiscard]] std::string home(const std::string& name) const { return (folder_.path() / name).string(); }
    [[nodiscard]] ProgramResult run(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {QUENDO_PROGRAM, "--home", home(name)});
        return quendokit::testing::runProgram(arguments, {{"TZ", "Europe/Berlin"}, {"LC_ALL", "C.UTF-8"}});
    }
    json answer(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "--json");
        const ProgramResult result = run(name, std::move(arguments));
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return json::parse(result.output, nullptr, false);
    }

    [[nodiscard]] std::string tokenFile(const ClouddProcess::Tokens& tokens) const {
        std::ofstream(home("tokens.json")) << json{{"api-token", tokens.api}, {"web-token", tokens.web}};
        return home("tokens.json");
    }
    [[nodiscard]] std::vector<std::string> connecting(const ClouddProcess::Tokens& tokens) const {
        return {"cloud", "connect", server->url(), "--container", container, "--token-file", tokenFile(tokens)};
    }
    void connectBoth() {
        for (const std::string name : {"a", "b"}) {
            EXPECT_EQ(answer(name, connecting(tokens_.at(name))),
                      (json{{"connected", true}, {"url", server->url()}, {"container", container}}));
            EXPECT_EQ(sync(name), counts(0, 0, 0));
        }
    }
    /// The answer of a sync, in which only the number of uploads counts.
    json sync(const std::string& name) const {
        json synced = answer(name, {"sync"});
        synced["uploaded"] = synced.at("uploaded").size();
        return synced;
    }
    static json counts(std::size_t uploaded, std::size_t received, std::size_t deleted) {
        return {{"uploaded", uploaded}, {"received", received}, {"deleted", deleted}};
    }
    /// What is stored there, without what only that device knows.
    json reminders(const std::string& name) const {
        json list = answer(name, {"list", "--deleted"});
        for (json& each : list) {
            each.erase("list");
        }
        return list;
    }
    void expectSame() const { EXPECT_EQ(reminders("a"), reminders("b")); }
    static void expectOneLine(const ProgramResult& result, int code, const std::string& words) {
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, HasSubstr(words));
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    }
    /// No token of anybody stands in it.
    void expectNoSecret(const std::string& text) const {
        for (const auto& [name, tokens] : tokens_) {
            EXPECT_THAT(text, Not(HasSubstr(tokens.api)));
            EXPECT_THAT(text, Not(HasSubstr(tokens.web)));
        }
    }

    const TemporaryFolder folder_;
    std::unique_ptr<ClouddProcess> server = std::make_unique<ClouddProcess>(QUENDO_CLOUDD_PROGRAM);
    std::map<std::string, ClouddProcess::Tokens> tokens_;
};

}  // namespace quendo::testing
