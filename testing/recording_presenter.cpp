#include "testing/recording_presenter.hpp"

#include <algorithm>

namespace quendokit::testing {

RecordingPresenter::RecordingPresenter(std::shared_ptr<DispatchQueue> queue, std::shared_ptr<RecordedScreen> screen)
    : queue_(std::move(queue)), screen_(std::move(screen)) {}

RecordingPresenter::~RecordingPresenter() = default;

void RecordingPresenter::show(const ReminderNotice& notice, Done done) {
    if (absent_) {
        answer(done, Error{"RecordingPresenter", 1, "there is no notification service"});
        return;
    }
    if (failures_ > 0) {
        --failures_;
        answer(done, error_);
        return;
    }
    const std::string handle = "screen " + std::to_string(++screen_->lastNumber);
    screen_->shown.push_back({handle, notice});
    screen_->history.push_back({handle, notice});
    answer(done, handle);
}

void RecordingPresenter::answer(const Done& done, Result<std::string> handle) {
    if (!queue_) {
        waiting_.emplace_back(done, std::move(handle));
        return;
    }
    queue_->async([done, handle = std::move(handle), alive = std::weak_ptr(alive_)] {
        if (alive.lock()) {
            done(handle);
        }
    });
}

bool RecordingPresenter::answerNext() {
    if (waiting_.empty()) {
        return false;
    }
    const auto [done, handle] = std::move(waiting_.front());
    waiting_.pop_front();
    done(handle);
    return true;
}

void RecordingPresenter::close(const std::string& handle) {
    screen_->closed.push_back(handle);
    std::erase_if(screen_->shown, [&](const auto& shown) { return shown.handle == handle; });
}

void RecordingPresenter::setAbsent(bool absent) {
    absent_ = absent;
    if (const auto available = events_.available; !absent && available) {
        available();
    }
}

void RecordingPresenter::failNext(std::size_t count, Error error) {
    failures_ = count;
    error_ = std::move(error);
}

void RecordingPresenter::press(const std::string& handle, const std::string& actionIdentifier) const {
    if (const auto pressed = events_.pressed) {
        pressed(handle, actionIdentifier);
    }
}

void RecordingPresenter::open(const std::string& handle) const {
    if (const auto opened = events_.opened) {
        opened(handle);
    }
}

void RecordingPresenter::dismiss(const std::string& handle, bool byThePerson) {
    std::erase_if(screen_->shown, [&](const auto& shown) { return shown.handle == handle; });
    if (const auto closed = events_.closed) {
        closed(handle, byThePerson);
    }
}

}  // namespace quendokit::testing
