#pragma once
/// \file
/// The lock that lets one process at a time work on the reminders.

#include <chrono>
#include <filesystem>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// Holds the lock until its end, or the end of the process, whatever ends it.
class LockFile {
public:
    /// Waits at most `patience` for another process.
    [[nodiscard]] static Outcome<LockFile> take(const std::filesystem::path& file, std::chrono::milliseconds patience);

    /// Whether some process holds the lock at this moment.
    [[nodiscard]] static bool isHeld(const std::filesystem::path& file);

    LockFile(LockFile&& other) noexcept;
    LockFile& operator=(LockFile&&) = delete;
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile();

private:
    explicit LockFile(int descriptor) noexcept : descriptor_(descriptor) {}

    int descriptor_;
};

}  // namespace quendo
