#pragma once
/// \file
/// Sockets that lie in the file system, for programs of one person.

#include <chrono>
#include <filesystem>
#include <optional>
#include <utility>

#include <sys/types.h>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// The longest path that a socket can have, in bytes.
inline constexpr std::size_t longestSocketPath = 107;

/// A descriptor that closes with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_ = -1;
};

/// The user at the other end. Absent when the system does not say.
[[nodiscard]] std::optional<uid_t> peerOf(int descriptor);

/// A socket on which others can connect for as long as this lives, whoever accepts them. Its file is removed at the
/// end.
class ListeningSocket {
public:
    /// Makes the socket (0600) and its folder. What lies there already is removed, unless it is no socket: a caller
    /// holds the lock, so that nobody else can be listening.
    [[nodiscard]] static Outcome<ListeningSocket> open(const std::filesystem::path& path);

    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    ListeningSocket(ListeningSocket&&) noexcept = default;
    ListeningSocket& operator=(ListeningSocket&&) = delete;
    ~ListeningSocket();

    /// Does not block.
    [[nodiscard]] int number() const noexcept { return descriptor_.number(); }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

private:
    ListeningSocket(Descriptor descriptor, std::filesystem::path path)
        : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

    Descriptor descriptor_;
    std::filesystem::path path_;
};

/// A connection that blocks. Closed when nobody listens there; the failure is of a listener that takes nobody on.
[[nodiscard]] Outcome<Descriptor> connectTo(const std::filesystem::path& path, std::chrono::milliseconds patience);

}  // namespace quendo
