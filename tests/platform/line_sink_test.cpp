#include "quendokit/platform/line_sink.hpp"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "testing/recording_line_sink.hpp"

namespace quendokit {
namespace {

TEST(StandardOutputSink, WritesEachLineWithABreak) {
    const auto sink = makeStandardOutputSink();
    ::testing::internal::CaptureStdout();
    sink->writeLine("🗃 [store] 1");
    sink->writeLine("");
    sink->writeLine("100 %s");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "🗃 [store] 1\n\n100 %s\n");
}

TEST(StandardOutputSinkDeathTest, ALineIsOutEvenIfTheProcessDiesRightAfter) {
    // The child's standard output becomes its standard error, which the test reads.
    EXPECT_EXIT(
        {
            std::fflush(stdout);
            ::dup2(2, 1);
            makeStandardOutputSink()->writeLine("flushed");
            std::_Exit(3);
        },
        ::testing::ExitedWithCode(3), "^flushed\n$");
}

TEST(RecordingLineSink, KeepsTheLinesInTheirOrder) {
    const auto trace = std::make_shared<testing::Trace>();
    testing::RecordingLineSink sink(trace);
    sink.writeLine("a");
    sink.writeLine("b");
    EXPECT_EQ(sink.lines(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(trace->lines(), sink.lines());
}

}  // namespace
}  // namespace quendokit
