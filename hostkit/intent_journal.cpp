#include "hostkit/intent_journal.hpp"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/stat.h>

#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {
namespace {

constexpr const char* domain = "IntentJournal";
constexpr mode_t ownerOnly = 0600;
constexpr mode_t otherUsers = 0077;
constexpr std::size_t sumSize = 16;

/// Stored format: FNV-1a of the intent in sixteen hexadecimal digits, a blank, the intent, a line feed.
std::string sumOf(std::string_view intent) {
    std::uint64_t sum = 14'695'981'039'346'656'037U;
    for (const char c : intent) {
        sum = (sum ^ static_cast<unsigned char>(c)) * 1'099'511'628'211U;
    }
    std::array<char, sumSize + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(sum));
    return digits.data();
}

std::vector<std::string> intentsOf(std::string_view text) {
    std::vector<std::string> intents;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
        const std::string_view line = text.substr(0, end);
        if (line.size() > sumSize && line[sumSize] == ' ') {
            const std::string_view intent = line.substr(sumSize + 1);
            if (line.substr(0, sumSize) == sumOf(intent)) {
                intents.emplace_back(intent);
            }
        }
    }
    return intents;
}

/// The name of a new file is on the disk only when its folder is.
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

}  // namespace

Result<std::unique_ptr<IntentJournal>> IntentJournal::open(const std::filesystem::path& file) {
    const int descriptor =
        ::open(file.c_str(), O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerOnly);
    const int number = errno;
    // Owns the descriptor from here on.
    auto journal = std::unique_ptr<IntentJournal>(new IntentJournal(file, descriptor));
    if (descriptor < 0) {
        return journal->errorOf(number, "cannot be opened");
    }
    struct stat status{};
    if (fstat(descriptor, &status) != 0) {
        return journal->errorOf(errno, "cannot be examined");
    }
    if (!S_ISREG(status.st_mode)) {
        return Error{domain, EINVAL, file.string() + ": this is no regular file; move it aside"};
    }
    if ((status.st_mode & otherUsers) != 0 && fchmod(descriptor, ownerOnly) != 0) {
        return journal->errorOf(errno, "is open to other users");
    }
    if (status.st_size == 0 && !syncFolder(file)) {
        return journal->errorOf(errno, "cannot be made safe");
    }
    if (auto error = journal->read()) {
        return *std::move(error);
    }
    return journal;
}

IntentJournal::IntentJournal(std::filesystem::path file, int descriptor)
    : file_(std::move(file)), descriptor_(descriptor) {}

IntentJournal::~IntentJournal() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

std::optional<Error> IntentJournal::read() {
    std::string text;
    std::array<char, 4096> buffer{};
    while (true) {
        const ssize_t size = ::read(descriptor_, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return errorOf(errno, "cannot be read");
        }
        if (size == 0) {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    leftovers_ = intentsOf(text);
    // What is noted next must not continue a line that was cut off.
    const std::size_t whole = text.rfind('\n') == std::string::npos ? 0 : text.rfind('\n') + 1;
    if (whole != text.size() && ftruncate(descriptor_, static_cast<off_t>(whole)) != 0) {
        return errorOf(errno, "cannot be written");
    }
    return std::nullopt;
}

std::optional<Error> IntentJournal::note(std::string_view intent) {
    if (intent.find('\n') != std::string_view::npos) {
        fatalError("an intent has no line feed");
    }
    if (append(sumOf(intent) + ' ' + std::string(intent) + '\n') && fdatasync(descriptor_) == 0) {
        return std::nullopt;
    }
    auto error = errorOf(errno, "cannot be written");
    // The caller is told that nothing happens: nothing may be finished later, either.
    static_cast<void>(settle());
    return error;
}

bool IntentJournal::append(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t size = write(descriptor_, text.data(), text.size());
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

std::optional<Error> IntentJournal::settle() {
    leftovers_.clear();
    if (ftruncate(descriptor_, 0) != 0 || fdatasync(descriptor_) != 0) {
        return errorOf(errno, "cannot be emptied");
    }
    return std::nullopt;
}

Error IntentJournal::errorOf(int number, const char* doing) const {
    return {domain, number,
            file_.string() + ": the journal " + doing + " (" + std::generic_category().message(number) +
                "); check the disk, and that the file is yours"};
}

}  // namespace quendokit
