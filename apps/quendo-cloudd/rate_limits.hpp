#pragma once
/// \file
/// How often somebody may ask, and how long somebody who guesses tokens has to wait.

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace cloudd {

/// So many requests a second for each name, and a store of unused ones for bursts. One thread.
class RequestRate {
public:
    RequestRate(double perSecond, double burst) : perSecond_(perSecond), burst_(burst) {}

    /// Counts a request at `now`, in seconds. Answers how many seconds to wait when it is one too many; it is not
    /// counted then.
    [[nodiscard]] std::optional<double> take(const std::string& name, double now);

private:
    struct Bucket {
        double left;
        double at;
    };

    void forgetFull(double now);

    const double perSecond_;
    const double burst_;
    std::map<std::string, Bucket> buckets_;
};

/// After ten wrong tokens under one name each further one doubles the time for which it is not listened to, from one
/// second to five minutes. Ten quiet minutes and all is forgotten. One thread.
class GuessingBrake {
public:
    /// How many seconds the name still has to wait; absent when it is welcome.
    [[nodiscard]] std::optional<double> wait(const std::string& name, double now) const;
    /// Answers how many there were since it was forgotten, with this one.
    int noteWrongToken(const std::string& name, double now);

private:
    struct Guesses {
        int count = 0;
        double last = 0;
        double until = 0;
    };

    std::map<std::string, Guesses> guesses_;
};

}  // namespace cloudd
