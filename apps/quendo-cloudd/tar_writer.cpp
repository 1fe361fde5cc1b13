#include "apps/quendo-cloudd/tar_writer.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/stat.h>

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;
using quendo::Outcome;

constexpr std::size_t blockSize = 512;
/// The largest size that a header can name.
constexpr std::uint64_t mostBytesOfAFile = 077777777777;

Failure fileFailure(const std::filesystem::path& file, int number) {
    return {ExitCode::notDone, file.string() + ": " + std::generic_category().message(number) +
                                   "; nothing was written, choose another place or make room"};
}

/// A header in the ustar format: fields of octal digits at fixed places.
std::string header(const std::string& name, char kind, std::uint64_t size, std::int64_t seconds, unsigned mode) {
    std::array<char, blockSize> block{};
    const auto put = [&](std::size_t place, const std::string& text) {
        std::memcpy(block.data() + place, text.data(), text.size());
    };
    const auto octal = [&](std::size_t place, int digits, std::uint64_t number) {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "%0*llo", digits, static_cast<unsigned long long>(number));
        put(place, text.data());
    };
    put(0, name);
    octal(100, 7, mode);
    octal(108, 7, 0);
    octal(116, 7, 0);
    octal(124, 11, size);
    octal(136, 11, static_cast<std::uint64_t>(seconds < 0 ? 0 : seconds));
    block[156] = kind;
    put(257, std::string("ustar\00000", 8));
    // The sum is made over blanks in its own place.
    put(148, std::string(8, ' '));
    unsigned sum = 0;
    for (const char byte : block) {
        sum += static_cast<unsigned char>(byte);
    }
    octal(148, 6, sum);
    block[154] = '\0';
    return {block.data(), block.size()};
}

}  // namespace

Outcome<TarWriter> TarWriter::create(const std::filesystem::path& file) {
    struct stat status{};
    if (lstat(file.c_str(), &status) == 0) {
        return Failure{ExitCode::notDone, file.string() + ": there is such a file already; choose another name"};
    }
    std::string beside = file.string() + ".part-XXXXXX";
    const int descriptor = mkostemp(beside.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return fileFailure(file, errno);
    }
    return TarWriter(file, beside, descriptor);
}

TarWriter::TarWriter(TarWriter&& other) noexcept
    : file_(std::move(other.file_)),
      beside_(std::move(other.beside_)),
      descriptor_(std::exchange(other.descriptor_, -1)) {}

TarWriter::~TarWriter() {
    if (descriptor_ >= 0) {
        close(descriptor_);
        unlink(beside_.c_str());
    }
}

std::optional<Failure> TarWriter::write(const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(descriptor_, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) {
            return fileFailure(file_, errno);
        }
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return std::nullopt;
}

std::optional<Failure> TarWriter::addFolder(const std::string& name, std::int64_t seconds) {
    return write(header(name, '5', 0, seconds, 0700));
}

std::optional<Failure> TarWriter::add(const std::string& name, const std::filesystem::path& source,
                                      std::int64_t seconds) {
    const int from = open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status{};
    if (from < 0 || fstat(from, &status) != 0) {
        const int number = errno;
        if (from >= 0) {
            close(from);
        }
        return fileFailure(source, number);
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    std::optional<Failure> failure =
        size > mostBytesOfAFile ? fileFailure(source, EFBIG) : write(header(name, '0', size, seconds, 0600));
    std::uint64_t left = size;
    std::string buffer;
    while (!failure && left > 0) {
        buffer.resize(static_cast<std::size_t>(left < 65'536 ? left : 65'536));
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count <= 0) {
            failure = fileFailure(source, count < 0 ? errno : EIO);
            break;
        }
        buffer.resize(static_cast<std::size_t>(count));
        left -= static_cast<std::uint64_t>(count);
        failure = write(buffer);
    }
    close(from);
    if (failure) {
        return failure;
    }
    return write(std::string((blockSize - size % blockSize) % blockSize, '\0'));
}

std::optional<Failure> TarWriter::finish() {
    if (auto failure = write(std::string(2 * blockSize, '\0'))) {
        return failure;
    }
    // A link, unlike a change of name, never replaces a file that came meanwhile.
    if (fsync(descriptor_) != 0 || link(beside_.c_str(), file_.c_str()) != 0) {
        return fileFailure(file_, errno);
    }
    const std::filesystem::path parent = file_.has_parent_path() ? file_.parent_path() : ".";
    const int folder = open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isSynced = folder >= 0 && fsync(folder) == 0;
    const int number = errno;
    if (folder >= 0) {
        close(folder);
    }
    return isSynced ? std::nullopt : std::optional(fileFailure(file_, number));
}

}  // namespace cloudd
