#pragma once
/// \file
/// What a client and the daemon say to each other over the socket.
///
/// Each begins with a greeting that names its version, and goes on only with the same version; then the client sends
/// one request and the daemon one answer, each behind its length, and the daemon hangs up. The greeting's form never
/// changes, so that any two versions can tell a person what to do.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quendo {

/// The longest request, in bytes: a million reminders to import, more or less.
inline constexpr std::size_t longestRequest = std::size_t{64} << 20;
/// The longest answer: an export of everything.
inline constexpr std::size_t longestAnswer = std::size_t{1} << 30;

/// The length before a request or an answer: four bytes, the lowest first.
inline constexpr std::size_t lengthSize = 4;
[[nodiscard]] std::string lengthBytes(std::size_t length);
/// Of at least `lengthSize` bytes.
[[nodiscard]] std::size_t lengthIn(std::string_view bytes);

/// "0.9.0", as the program calls itself.
[[nodiscard]] std::string programVersion();

/// What one side is: "quendo", the number of the protocol in two bytes, and the version behind its length in one.
[[nodiscard]] std::string greeting();

/// What the other side said so far.
struct Greeting {
    enum class State { incomplete, foreign, whole };
    State state;
    /// How many bytes it has, once it is whole.
    std::size_t size = 0;
    std::uint16_t protocol = 0;
    std::string version = {};

    /// Whether both sides understand each other.
    [[nodiscard]] bool isOurs() const;
};

[[nodiscard]] Greeting readGreeting(std::string_view bytes);

}  // namespace quendo
