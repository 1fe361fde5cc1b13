#include "testing/recording_presenter.hpp"

#include "testing/conformance/reminder_presenter_conformance.hpp"
#include "testing/manual_dispatch_queue.hpp"

namespace quendokit::testing {
namespace {

class RecordingPresenterWorld final : public ReminderPresenterWorld {
public:
    ReminderPresenter& presenter() override { return *presenter_; }
    void restart() override { presenter_ = std::make_unique<RecordingPresenter>(queue_, screen_); }
    bool runUntil(const std::function<bool()>& condition) override {
        while (!condition() && queue_->runNext()) {
        }
        return condition();
    }
    void settle() override { queue_->runAll(); }

private:
    const std::shared_ptr<ManualDispatchQueue> queue_ = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<RecordedScreen> screen_ = std::make_shared<RecordedScreen>();
    std::unique_ptr<ReminderPresenter> presenter_ = std::make_unique<RecordingPresenter>(queue_, screen_);
};

INSTANTIATE_TEST_SUITE_P(Recording, ReminderPresenterConformance,
                         ::testing::Values(ReminderPresenterImplementation{
                             "Recording", [] { return std::make_unique<RecordingPresenterWorld>(); }}));

TEST(RecordedScreens, FailAndAreAbsentWhenTold) {
    RecordingPresenter presenter;
    std::vector<std::string> answers;
    const auto done = [&](const Result<std::string>& handle) {
        answers.push_back(handle ? handle.value() : handle.error().description);
    };
    int available = 0;
    ReminderPresenterEvents events;
    events.available = [&] { ++available; };
    presenter.setEvents(events);
    presenter.failNext(1, Error{"Screen", 1, "not now"});
    presenter.show({}, done);
    presenter.setAbsent(true);
    presenter.show({}, done);
    presenter.setAbsent(false);
    presenter.show({}, done);
    EXPECT_TRUE(answers.empty());
    while (presenter.answerNext()) {
    }
    EXPECT_EQ(answers, (std::vector<std::string>{"not now", "there is no notification service", "screen 1"}));
    EXPECT_EQ(available, 1);
    EXPECT_EQ(presenter.screen().shown.size(), 1U);
}

}  // namespace
}  // namespace quendokit::testing
