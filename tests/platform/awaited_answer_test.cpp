#include "testing/conformance/awaited_answer.hpp"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

TEST(AwaitingAnAnswer, AnswersWhatCame) {
    AwaitedAnswer<int> answer;
    answer.set(1);
    EXPECT_EQ(answer.future().get(), 1);
}

TEST(AwaitingAnAnswer, ASecondOneIsAFailureOfTheTestAndChangesNothing) {
    AwaitedAnswer<int> answer;
    answer.set(1);
    EXPECT_NONFATAL_FAILURE(answer.set(2), "a second answer came");
    EXPECT_EQ(answer.future().get(), 1);
}

}  // namespace
}  // namespace quendokit::testing
