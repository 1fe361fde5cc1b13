#pragma once
/// \file
/// `Error` and `Result`: how an interface that can fail says so. No exception crosses the engine.

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace quendokit {

/// Why something failed. `domain` names the interface ("Realm"), `code` is one of that interface's codes, `description`
/// is one line for a person: what, where, what to do.
struct Error {
    std::string domain;
    int code = 0;
    std::string description;
    /// Seconds after which trying again may help, when the other side said so.
    std::optional<double> retryAfter = {};
};

/// A value, or the error that came instead of it.
template <typename Value>
class [[nodiscard]] Result {
public:
    Result(Value value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool hasValue() const noexcept { return state_.index() == 0; }
    explicit operator bool() const noexcept { return hasValue(); }

    /// Only when `hasValue()`.
    [[nodiscard]] Value& value() & { return std::get<0>(state_); }
    [[nodiscard]] const Value& value() const& { return std::get<0>(state_); }
    [[nodiscard]] Value&& value() && { return std::get<0>(std::move(state_)); }
    /// Only when not `hasValue()`.
    [[nodiscard]] const Error& error() const { return std::get<1>(state_); }

private:
    std::variant<Value, Error> state_;
};

}  // namespace quendokit
