#include "apps/quendo/daemon/termination.hpp"

#include <utility>

namespace quendo {
namespace {

/// Tells the thread that it is not needed any more.
constexpr int farewellSignal = SIGUSR1;

sigset_t waitedFor() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, farewellSignal);
    return signals;
}

}  // namespace

Termination::Termination(std::function<void()> ask) {
    const sigset_t signals = waitedFor();
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
    thread_ = std::thread([this, signals, ask = std::move(ask)] {
        while (!ended_) {
            int number = 0;
            if (sigwait(&signals, &number) == 0 && (number == SIGTERM || number == SIGINT)) {
                ask();
            }
        }
    });
}

Termination::~Termination() {
    ended_ = true;
    pthread_kill(thread_.native_handle(), farewellSignal);
    thread_.join();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace quendo
