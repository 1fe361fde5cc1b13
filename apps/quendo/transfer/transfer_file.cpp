#include "apps/quendo/transfer/transfer_file.hpp"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>
#include <sys/stat.h>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

/// An open file, closed at the end.
class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// Whether it closed without an error, by which some disks tell that they are full.
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

std::string systemText(int error) {
    return std::generic_category().message(error);
}

Failure unreadable(const std::string& file, int error) {
    const std::string name = transferFileName(file);
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return {ExitCode::usage, fmt::format("{}: there is no such file; check the name", name)};
        case EISDIR:
            return {ExitCode::usage, fmt::format("{}: this is a folder; name a file in it", name)};
        case EACCES:
            return {ExitCode::usage, fmt::format("{}: the file may not be read; change its permissions", name)};
        default:
            return {ExitCode::usage, fmt::format("{}: cannot be read: {}; check the disk", name, systemText(error))};
    }
}

/// Reads all of it, or answers `errno`.
int readAll(int descriptor, std::size_t limit, std::string& text) {
    std::array<char, std::size_t{1} << 16U> buffer{};
    while (text.size() <= limit) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count == 0) {
            return 0;
        }
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

Failure unwritable(const std::string& file, int error, std::string_view state) {
    const std::string name = transferFileName(file);
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return {ExitCode::usage, fmt::format("{}: there is no such folder; make it, or name another", name)};
        case EISDIR:
            return {ExitCode::usage, fmt::format("{}: this is a folder; name a file in it", name)};
        case ENOSPC:
        case EDQUOT:
            return {ExitCode::notDone, fmt::format("{}: the disk is full; make room. {}", name, state)};
        case EACCES:
        case EPERM:
        case EROFS:
            return {ExitCode::notDone, fmt::format("{}: nothing may be written there; choose another folder", name)};
        default:
            return {ExitCode::notDone, fmt::format("{}: cannot be written: {}; choose another folder. {}", name,
                                                   systemText(error), state)};
    }
}

/// The file behind `file` when that is a link, so that the link stays one.
std::filesystem::path targetOf(const std::string& file) {
    std::error_code error;
    auto target = std::filesystem::weakly_canonical(file, error);
    return error ? std::filesystem::path(file) : target;
}

/// Brings the new name of a file to the disk. Not every file system can; the content is safe all the same.
void syncFolder(const std::filesystem::path& folder) {
    const OpenFile opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.descriptor() >= 0) {
        ::fsync(opened.descriptor());
    }
}

/// Writes beside `target` and renames. Answers `errno`, 0 when all went well.
int replace(const std::filesystem::path& target, std::string_view text) {
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    // Not named after the target, whose name may be as long as names can be.
    std::string beside = folder / ".quendo-export-XXXXXX";
    OpenFile file(::mkostemp(beside.data(), O_CLOEXEC));
    if (file.descriptor() < 0) {
        return errno;
    }
    const bool isWritten = ::fchmod(file.descriptor(), S_IRUSR | S_IWUSR) == 0 && writeAll(file.descriptor(), text) &&
                           ::fsync(file.descriptor()) == 0 && file.close() &&
                           ::rename(beside.c_str(), target.c_str()) == 0;
    if (!isWritten) {
        const int error = errno;
        ::unlink(beside.c_str());
        return error;
    }
    syncFolder(folder);
    return 0;
}

/// Writes into what is no file on a disk.
int pour(const std::string& file, std::string_view text) {
    OpenFile opened(::open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    return opened.descriptor() >= 0 && writeAll(opened.descriptor(), text) && opened.close() ? 0 : errno;
}

}  // namespace

std::string transferFileName(const std::string& file) {
    return file == "-" ? "standard input" : escapedText(file);
}

Outcome<std::string> readTransferFile(const std::string& file, std::size_t limit) {
    const bool isStandardInput = file == "-";
    const OpenFile opened(isStandardInput ? ::dup(STDIN_FILENO)
                                          : ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (opened.descriptor() < 0) {
        return unreadable(file, errno);
    }
    std::string text;
    if (const int error = readAll(opened.descriptor(), limit, text); error != 0) {
        return unreadable(file, error);
    }
    if (text.size() > limit) {
        return Failure{ExitCode::usage, fmt::format("{}: holds more than {} MiB; split it into smaller files",
                                                    transferFileName(file), limit >> 20U)};
    }
    return text;
}

std::optional<Failure> writeTransferFile(const std::string& file, std::string_view text) {
    struct stat status{};
    const bool exists = ::stat(file.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        return unwritable(file, EISDIR, "");
    }
    const bool isOnDisk = !exists || S_ISREG(status.st_mode);
    const int error = isOnDisk ? replace(targetOf(file), text) : pour(file, text);
    if (error == 0) {
        return std::nullopt;
    }
    return unwritable(file, error, exists && isOnDisk ? "The old file is as it was" : "Nothing is exported");
}

}  // namespace quendo
