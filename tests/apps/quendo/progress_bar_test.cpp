#include "apps/quendo/progress_bar.hpp"

#include <algorithm>
#include <clocale>
#include <pty.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/quendo/text_table.hpp"

namespace quendo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A terminal of 32 columns; time moves by hand.
class Progress : public ::testing::Test {
protected:
    [[nodiscard]] ProgressBar::Seams seams() {
        return {[this] { return now_; }, [this](std::string_view text) { written_.emplace_back(text); }, columns_};
    }

    /// What has been written since the last call.
    std::vector<std::string> written() { return std::exchange(written_, {}); }

    std::chrono::steady_clock::time_point now_{1h};
    std::optional<std::size_t> columns_ = 32;
    std::vector<std::string> written_;
};

TEST_F(Progress, IsFirstShownAfterASecondOfWork) {
    ProgressBar bar("Importing", seams());
    bar.show(1, 10);
    now_ += 999ms;
    bar.show(4, 10);
    EXPECT_THAT(written(), IsEmpty());
    now_ += 1ms;
    bar.show(5, 10);
    EXPECT_THAT(written(), ElementsAre("\rImporting [######       ]  50 %"));
}

TEST_F(Progress, OfWorkThatIsDoneWithinASecondLeavesNoTrace) {
    {
        ProgressBar bar("Importing", seams());
        now_ += 999ms;
        bar.show(10, 10);
    }
    EXPECT_THAT(written(), IsEmpty());
}

TEST_F(Progress, IsShownTenTimesASecondAtMost) {
    ProgressBar bar("Importing", seams());
    now_ += 1s;
    bar.show(5, 10);
    now_ += 99ms;
    bar.show(6, 10);
    EXPECT_EQ(written().size(), 1U);
    now_ += 1ms;
    bar.show(7, 10);
    EXPECT_THAT(written(), ElementsAre("\rImporting [#########    ]  70 %"));
    for (std::size_t i = 0; i < 1'000; ++i) {
        now_ += 1ms;
        bar.show(i, 1'000);
    }
    EXPECT_EQ(written().size(), 10U);
}

TEST_F(Progress, LeavesTheLastColumnFree) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    for (std::size_t columns = 0; columns <= 120; ++columns) {
        columns_ = columns;
        ProgressBar bar("Importing", seams());
        now_ += 1s;
        bar.show(10, 10);
        const std::string line = written().front();
        EXPECT_EQ(line.front(), '\r');
        EXPECT_LT(widthOf(line.substr(1)), std::max<std::size_t>(columns, 1)) << columns;
    }
    std::setlocale(LC_CTYPE, "C");
}

TEST_F(Progress, OnANarrowTerminalIsANumberAlone) {
    columns_ = 20;
    ProgressBar bar("Importing", seams());
    now_ += 1s;
    bar.show(999, 1'000);
    EXPECT_THAT(written(), ElementsAre("\r 99 %"));
}

TEST_F(Progress, OfNothingIsAll) {
    ProgressBar bar("Importing", seams());
    now_ += 1s;
    bar.show(0, 0);
    EXPECT_THAT(written(), ElementsAre("\rImporting [#############] 100 %"));
}

TEST_F(Progress, IsErasedAtItsEnd) {
    {
        ProgressBar bar("Importing", seams());
        now_ += 1s;
        bar.show(5, 10);
        written();
    }
    EXPECT_THAT(written(), ElementsAre("\r" + std::string(31, ' ') + "\r"));
}

TEST_F(Progress, IsErasedOnceAndMayBeShownAgain) {
    ProgressBar bar("Importing", seams());
    now_ += 1s;
    bar.show(5, 10);
    bar.erase();
    bar.erase();
    EXPECT_EQ(written().size(), 2U);
    now_ += 100ms;
    bar.show(0, 10);
    EXPECT_THAT(written(), ElementsAre("\rImporting [             ]   0 %"));
}

TEST_F(Progress, IsNowhereButOnATerminal) {
    columns_ = std::nullopt;
    {
        ProgressBar bar("Importing", seams());
        now_ += 1s;
        bar.show(5, 10);
    }
    EXPECT_THAT(written(), IsEmpty());
}

TEST_F(Progress, IsShownByItsCallback) {
    ProgressBar bar("Importing", seams());
    const TransferProgress progress = bar.callback();
    now_ += 1s;
    progress(5, 10);
    EXPECT_EQ(written().size(), 1U);
}

TEST(ProgressOnStandardError, FitsItsTerminalAndIsNothingWhenQuiet) {
    const winsize size{24, 70, 0, 0};
    int controller = -1;
    int terminal = -1;
    ASSERT_EQ(openpty(&controller, &terminal, nullptr, nullptr, &size), 0);
    const int before = dup(STDERR_FILENO);
    dup2(terminal, STDERR_FILENO);
    const auto shown = ProgressBar::standardError(false).columns;
    const auto quiet = ProgressBar::standardError(true).columns;
    dup2(before, STDERR_FILENO);
    for (const int descriptor : {before, terminal, controller}) {
        close(descriptor);
    }
    EXPECT_EQ(shown, 70U);
    EXPECT_EQ(quiet, std::nullopt);
}

}  // namespace
}  // namespace quendo::testing
