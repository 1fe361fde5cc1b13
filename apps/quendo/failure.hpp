#pragma once
/// \file
/// How a command fails: one line and an exit code.

#include <string>
#include <utility>
#include <variant>

#include "quendokit/platform/error.hpp"

namespace quendo {

/// What scripts rely on.
enum class ExitCode {
    done = 0,
    /// Not found, ambiguous, nothing to act on, or the files cannot be used.
    notDone = 1,
    /// Wrong usage, or a value that cannot be meant.
    usage = 2,
    /// Another program holds the reminders.
    locked = 3,
    /// The data is damaged or of a newer version.
    damaged = 4,
    /// The cloud refuses, or is out of reach.
    cloud = 5,
};

/// Why a command did not do its work. `line` says what happened, where, and what to do.
struct Failure {
    ExitCode code;
    std::string line;
};

/// The failure that an error of the database or of the settings means for a command.
[[nodiscard]] Failure failureOf(const quendokit::Error& error);

/// A value, or why there is none.
template <typename Value>
class [[nodiscard]] Outcome {
public:
    Outcome(Value value) : state_(std::in_place_index<0>, std::move(value)) {}
    Outcome(Failure failure) : state_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const noexcept { return state_.index() == 0; }
    [[nodiscard]] Value& value() & { return std::get<0>(state_); }
    [[nodiscard]] Value&& value() && { return std::get<0>(std::move(state_)); }
    [[nodiscard]] const Failure& failure() const { return std::get<1>(state_); }

private:
    std::variant<Value, Failure> state_;
};

}  // namespace quendo
