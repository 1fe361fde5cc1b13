#pragma once
/// \file
/// `ShimFileOperations`, a disk under the settings that fails when told to.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "adapters/files/file_operations_internal.hpp"

namespace quendokit::testing {

/// Passes every call on to the system, but for syncs, which take long and are only counted. Remembers the calls in
/// order. One thread.
class ShimFileOperations final : public files::FileOperations {
public:
    /// The names of the calls since the last `forget()`, as "open" and "rename".
    [[nodiscard]] const std::vector<std::string>& calls() const noexcept { return calls_; }
    void forget() { calls_.clear(); }

    /// Lets the call number `index` (0 is the next one) fail with `number`.
    void failAt(std::size_t index, int number) { failure_ = {calls_.size() + index, number}; }
    /// Lets every call of that name fail with `number`.
    void failAll(const std::string& name, int number) { failingName_ = {name, number}; }
    /// From now on nothing fails.
    void mend() {
        failure_.reset();
        failingName_.reset();
    }

    /// Ends the process, as by a kill, right before the call number `index`.
    void exitAt(std::size_t index) { exitAt_ = calls_.size() + index; }

    /// Runs before each call that names a file, with the call and the file: another process, at the worst moment.
    std::function<void(const std::string& call, const std::string& path)> beforeCall;

    /// Writes take at most that many bytes at once.
    void setLargestWrite(std::size_t size) { largestWrite_ = size; }

    int open(const char* path, int flags, mode_t mode) override {
        return fails("open", path) ? -1 : FileOperations::open(path, flags, mode);
    }
    ssize_t read(int file, void* to, std::size_t size) override {
        return fails("read") ? -1 : FileOperations::read(file, to, size);
    }
    ssize_t write(int file, const void* from, std::size_t size) override {
        return fails("write") ? -1 : FileOperations::write(file, from, std::min(size, largestWrite_));
    }
    int fstat(int file, struct stat* status) override {
        return fails("fstat") ? -1 : FileOperations::fstat(file, status);
    }
    int fchmod(int file, mode_t mode) override { return fails("fchmod") ? -1 : FileOperations::fchmod(file, mode); }
    int fsync(int /*file*/) override { return fails("fsync") ? -1 : 0; }
    int flock(int file, int operation) override { return fails("flock") ? -1 : FileOperations::flock(file, operation); }
    int close(int file) override {
        // A file that cannot be closed is closed.
        const int result = FileOperations::close(file);
        return fails("close") ? -1 : result;
    }
    int lstat(const char* path, struct stat* status) override {
        return fails("lstat", path) ? -1 : FileOperations::lstat(path, status);
    }
    int mkdir(const char* path, mode_t mode) override {
        return fails("mkdir", path) ? -1 : FileOperations::mkdir(path, mode);
    }
    int link(const char* from, const char* to) override {
        return fails("link", to) ? -1 : FileOperations::link(from, to);
    }
    int rename(const char* from, const char* to) override {
        return fails("rename", to) ? -1 : FileOperations::rename(from, to);
    }
    int unlink(const char* path) override { return fails("unlink", path) ? -1 : FileOperations::unlink(path); }

private:
    struct CallFailure {
        std::size_t index;
        int number;
    };
    struct NamedFailure {
        std::string name;
        int number;
    };

    bool fails(const char* name, const char* path = nullptr) {
        if (beforeCall && path != nullptr) {
            beforeCall(name, path);
        }
        const std::size_t index = calls_.size();
        if (index == exitAt_) {
            _exit(137);
        }
        calls_.emplace_back(name);
        if (failure_ && failure_->index == index) {
            errno = failure_->number;
            return true;
        }
        if (failingName_ && failingName_->name == name) {
            errno = failingName_->number;
            return true;
        }
        return false;
    }

    std::vector<std::string> calls_;
    std::optional<CallFailure> failure_;
    std::optional<NamedFailure> failingName_;
    std::size_t exitAt_ = std::numeric_limits<std::size_t>::max();
    std::size_t largestWrite_ = std::numeric_limits<std::size_t>::max();
};

}  // namespace quendokit::testing
