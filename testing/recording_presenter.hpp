#pragma once
/// \file
/// `RecordingPresenter`, a screen that a test reads and presses.

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/reminder_presenter.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

/// What the person has before them; it outlives the host that put it there, as a notification service does.
struct RecordedScreen {
    struct Shown {
        std::string handle;
        ReminderNotice notice;
    };
    /// What is on it, the oldest first.
    std::vector<Shown> shown;
    /// Everything that ever was.
    std::vector<Shown> history;
    /// What the host has closed, whether it was there or not.
    std::vector<std::string> closed;
    std::size_t lastNumber = 0;
};

/// Shows on a screen of its own or a shared one. Answers through `queue` in a later turn of it, or when told. One
/// thread.
class QUENDOKIT_EXPORT RecordingPresenter final : public ReminderPresenter {
public:
    /// A null queue answers when told.
    explicit RecordingPresenter(std::shared_ptr<DispatchQueue> queue = nullptr,
                                std::shared_ptr<RecordedScreen> screen = std::make_shared<RecordedScreen>());
    ~RecordingPresenter() override;

    void show(const ReminderNotice& notice, Done done) override;
    void close(const std::string& handle) override;
    void setEvents(ReminderPresenterEvents events) override { events_ = std::move(events); }

    /// Answers the call that waits longest; false when there is none. What it shows stands on the screen already, so
    /// a test can end the host between the two.
    bool answerNext();
    [[nodiscard]] std::size_t waitingCount() const noexcept { return waiting_.size(); }

    /// From now on there is no notification service, or there is one again, which is told.
    void setAbsent(bool absent);
    /// The next `count` calls show nothing and fail with `error`.
    void failNext(std::size_t count, Error error);

    /// As the service says it, whatever is on the screen.
    void press(const std::string& handle, const std::string& actionIdentifier) const;
    void open(const std::string& handle) const;
    /// Also takes it off the screen.
    void dismiss(const std::string& handle, bool byThePerson);

    [[nodiscard]] RecordedScreen& screen() noexcept { return *screen_; }

private:
    void answer(const Done& done, Result<std::string> handle);

    const std::shared_ptr<DispatchQueue> queue_;
    const std::shared_ptr<RecordedScreen> screen_;
    /// Ends with the presenter: nobody is answered any more.
    const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    ReminderPresenterEvents events_;
    std::deque<std::pair<Done, Result<std::string>>> waiting_;
    bool absent_ = false;
    std::size_t failures_ = 0;
    Error error_;
};

}  // namespace quendokit::testing
