#include "quendokit/model/log_func.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

class LogFuncTest : public ::testing::Test {
protected:
    ~LogFuncTest() override { setLogFunc({}); }

    /// As a part of the engine logs.
    static void log(const LogMessage& message) {
        if (const auto hook = LogFunc()) {
            (*hook)(message);
        }
    }
};

TEST_F(LogFuncTest, IsNoneAtFirst) {
    EXPECT_EQ(LogFunc(), nullptr);
}

TEST_F(LogFuncTest, WithoutAHookNoMessageIsMade) {
    log([]() -> std::string {
        ADD_FAILURE() << "the message was made";
        return "";
    });
}

TEST_F(LogFuncTest, TheHookDecidesWhetherAMessageIsMade) {
    int made = 0;
    const LogMessage message = [&made] {
        ++made;
        return std::string("line");
    };
    int called = 0;
    setLogFunc([&called](const LogMessage&) { ++called; });
    log(message);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(made, 0);

    std::vector<std::string> lines;
    setLogFunc([&lines](const LogMessage& each) { lines.push_back(each()); });
    log(message);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(lines, std::vector<std::string>{"line"});
}

TEST_F(LogFuncTest, AnEmptyHookTakesItAway) {
    setLogFunc([](const LogMessage&) { ADD_FAILURE() << "the hook was called"; });
    setLogFunc({});
    EXPECT_EQ(LogFunc(), nullptr);
    log([] { return std::string("line"); });
}

TEST_F(LogFuncTest, AHookThatReplacesItselfEndsItsCall) {
    std::vector<std::string> lines;
    setLogFunc([&lines](const LogMessage& message) {
        setLogFunc({});
        lines.push_back(message());
    });
    log([] { return std::string("one"); });
    log([] { return std::string("two"); });
    EXPECT_EQ(lines, std::vector<std::string>{"one"});
}

}  // namespace
}  // namespace quendokit
