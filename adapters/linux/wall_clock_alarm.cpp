#include "adapters/linux/wall_clock_alarm.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <poll.h>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>

namespace quendokit {
namespace {

/// A descriptor that is closed at its end.
class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    [[nodiscard]] int number() const noexcept { return number_; }

private:
    const int number_;
};

/// A moment that the kernel takes. Without one the timer waits for the end of its time, and still tells of the clock.
itimerspec timerOf(std::optional<Date> moment) {
    constexpr double endOfTime = 9e9;
    const double seconds = std::clamp(moment ? moment->timeIntervalSince1970() : endOfTime, 0.0, endOfTime);
    itimerspec time{};
    time.it_value.tv_sec = static_cast<time_t>(std::floor(seconds));
    // All zero would disarm it.
    time.it_value.tv_nsec = std::max(static_cast<long>((seconds - std::floor(seconds)) * 1e9), 1L);
    return time;
}

/// Whether something that was told of in `text` has the name `name`.
bool tellsOf(std::string_view text, const std::string& name) {
    while (text.size() >= sizeof(inotify_event)) {
        inotify_event event{};
        text.copy(reinterpret_cast<char*>(&event), sizeof event);
        const std::string_view told = text.substr(sizeof event, event.len);
        if ((event.mask & IN_Q_OVERFLOW) != 0 || told.substr(0, told.find('\0')) == name) {
            return true;
        }
        text.remove_prefix(std::min(text.size(), sizeof event + event.len));
    }
    return false;
}

}  // namespace

/// What the thread that waits and the host share.
class WallClockAlarm::State : public std::enable_shared_from_this<State> {
public:
    State(std::shared_ptr<DispatchQueue> queue, WallClockEvents events, const std::filesystem::path& zoneFile)
        : timer(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
          end(eventfd(0, EFD_CLOEXEC)),
          queue_(std::move(queue)),
          events_(std::move(events)),
          zoneName_(zoneFile.filename().string()) {
        // Where there is nothing to watch by, or no such folder, the zone stays what it is.
        if (watch_.number() >= 0) {
            static_cast<void>(inotify_add_watch(watch_.number(), zoneFile.parent_path().c_str(),
                                                IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_ONLYDIR));
        }
    }

    void set(std::optional<Date> moment) {
        isSet_ = moment.has_value();
        const itimerspec time = timerOf(moment);
        // Fails with ECANCELED when the clock was set meanwhile, and is set all the same: to a moment, not to a wait.
        static_cast<void>(timerfd_settime(timer.number(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &time, nullptr));
    }

    void start() {
        set(std::nullopt);
        thread_ = std::thread([this] { watch(); });
    }
    void stop() {
        isStopped_ = true;
        const std::uint64_t one = 1;
        static_cast<void>(write(end.number(), &one, sizeof one));
        thread_.join();
    }

    const Descriptor timer;
    const Descriptor end;

private:
    void watch() {
        std::array<pollfd, 3> awaited{
            {{end.number(), POLLIN, 0}, {timer.number(), POLLIN, 0}, {watch_.number(), POLLIN, 0}}};
        for (;;) {
            if (poll(awaited.data(), awaited.size(), -1) < 0) {
                continue;  // a signal
            }
            if (awaited[0].revents != 0) {
                return;
            }
            if (awaited[1].revents != 0) {
                readTimer();
            }
            if (awaited[2].revents != 0) {
                readWatch();
            }
        }
    }

    void readTimer() {
        std::uint64_t count = 0;
        if (read(timer.number(), &count, sizeof count) > 0) {
            if (isSet_) {
                tell(&WallClockEvents::reached);
            }
        } else if (errno == ECANCELED) {
            tell(&WallClockEvents::clockChanged);
        }
    }

    void readWatch() {
        std::array<char, 4096> text{};
        const ssize_t size = read(watch_.number(), text.data(), text.size());
        if (size > 0 && tellsOf({text.data(), static_cast<std::size_t>(size)}, zoneName_)) {
            tell(&WallClockEvents::zoneChanged);
        }
    }

    void tell(std::function<void()> WallClockEvents::* event) {
        queue_->async([weak = weak_from_this(), event] {
            const auto self = weak.lock();
            if (self && !self->isStopped_ && self->events_.*event) {
                (self->events_.*event)();
            }
        });
    }

    const Descriptor watch_{inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};
    const std::shared_ptr<DispatchQueue> queue_;
    const WallClockEvents events_;
    const std::string zoneName_;
    std::atomic<bool> isSet_ = false;
    std::atomic<bool> isStopped_ = false;
    std::thread thread_;
};

Result<std::unique_ptr<WallClockAlarm>> WallClockAlarm::create(std::shared_ptr<DispatchQueue> queue,
                                                               WallClockEvents events,
                                                               const std::filesystem::path& zoneFile) {
    auto state = std::make_shared<State>(std::move(queue), std::move(events), zoneFile);
    if (state->timer.number() < 0 || state->end.number() < 0) {
        const int number = errno;
        return Error{"WallClockAlarm", number, "the kernel gives no timer: " + std::generic_category().message(number)};
    }
    state->start();
    return std::unique_ptr<WallClockAlarm>(new WallClockAlarm(std::move(state)));
}

WallClockAlarm::WallClockAlarm(std::shared_ptr<State> state) : state_(std::move(state)) {}

WallClockAlarm::~WallClockAlarm() {
    state_->stop();
}

void WallClockAlarm::set(std::optional<Date> moment) {
    state_->set(moment);
}

}  // namespace quendokit
