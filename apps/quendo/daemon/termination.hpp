#pragma once
/// \file
/// `Termination`, how the system and the person end a program that runs on.

#include <atomic>
#include <functional>
#include <signal.h>
#include <thread>

namespace quendo {

/// While this lives, SIGTERM and SIGINT end nothing and are told instead. Made before any other thread, so that none of
/// them takes the signals.
class Termination {
public:
    /// `ask` is called with each signal, on a thread of this object's own.
    explicit Termination(std::function<void()> ask);
    Termination(const Termination&) = delete;
    Termination& operator=(const Termination&) = delete;
    ~Termination();

private:
    sigset_t before_{};
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace quendo
