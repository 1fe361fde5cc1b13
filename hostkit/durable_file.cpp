#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include <sys/stat.h>

#include "hostkit/durable_file_internal.hpp"

namespace quendokit {
namespace {

constexpr mode_t ownerOnly = 0600;
constexpr mode_t otherUsers = 0077;
constexpr std::size_t sumSize = 16;

std::string sumOf(std::string_view text) {
    std::uint64_t sum = 14'695'981'039'346'656'037U;
    for (const char c : text) {
        sum = (sum ^ static_cast<unsigned char>(c)) * 1'099'511'628'211U;
    }
    std::array<char, sumSize + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(sum));
    return digits.data();
}

}  // namespace

OpenFile::~OpenFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

Result<int> OwnFile::open(int flags) const {
    const int descriptor = ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerOnly);
    if (descriptor < 0) {
        return error(errno, "cannot be opened");
    }
    const auto refused = [&]() -> std::optional<Error> {
        struct stat status{};
        if (fstat(descriptor, &status) != 0) {
            return error(errno, "cannot be examined");
        }
        if (!S_ISREG(status.st_mode)) {
            return Error{domain, EINVAL, path.string() + ": this is no regular file; move it aside"};
        }
        if ((status.st_mode & otherUsers) != 0 && fchmod(descriptor, ownerOnly) != 0) {
            return error(errno, "is open to other users");
        }
        if ((flags & O_CREAT) != 0 && status.st_size == 0 && !syncFolder(path)) {
            return error(errno, "cannot be made safe");
        }
        return std::nullopt;
    };
    if (auto problem = refused()) {
        close(descriptor);
        return *std::move(problem);
    }
    return descriptor;
}

Result<std::string> OwnFile::read(int descriptor) const {
    std::string text;
    std::array<char, 4096> buffer{};
    while (true) {
        const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return error(errno, "cannot be read");
        }
        if (size == 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
}

std::optional<Error> OwnFile::replace(std::string_view text) const {
    OwnFile next{path, domain, what};
    next.path += ".new";
    // One that a crash left behind. A new one it must be: nobody else holds it open.
    ::unlink(next.path.c_str());
    const auto opened = next.open(O_WRONLY | O_CREAT | O_EXCL);
    if (!opened) {
        return opened.error();
    }
    const OpenFile file(opened.value());
    if (!writeAll(file.descriptor(), text) || fsync(file.descriptor()) != 0 ||
        rename(next.path.c_str(), path.c_str()) != 0) {
        auto failure = error(errno, "cannot be written");
        ::unlink(next.path.c_str());
        return failure;
    }
    if (!syncFolder(path)) {
        return error(errno, "cannot be made safe");
    }
    return std::nullopt;
}

Error OwnFile::error(int number, const char* doing) const {
    return {domain, number,
            path.string() + ": the " + what + " " + doing + " (" + std::generic_category().message(number) +
                "); check the disk, and that the file is yours"};
}

std::string checkedLine(std::string_view text) {
    return sumOf(text).append(1, ' ').append(text).append(1, '\n');
}

CheckedLines checkedLines(std::string_view file) {
    CheckedLines lines;
    for (std::size_t end = 0; (end = file.find('\n')) != std::string_view::npos; file.remove_prefix(end + 1)) {
        lines.wholeSize += end + 1;
        const std::string_view line = file.substr(0, end);
        if (line.size() > sumSize && line[sumSize] == ' ' &&
            line.substr(0, sumSize) == sumOf(line.substr(sumSize + 1))) {
            lines.texts.emplace_back(line.substr(sumSize + 1));
        } else {
            ++lines.damagedCount;
        }
    }
    return lines;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = write(descriptor, text.data(), text.size());
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(size));
    }
    return true;
}

bool syncFolder(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool synced = fsync(descriptor) == 0;
    const int number = errno;
    close(descriptor);
    errno = number;
    return synced;
}

}  // namespace quendokit
