#include "hostkit/intent_journal.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "hostkit/durable_file_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {
namespace {

OwnFile journalFile(const std::filesystem::path& path) {
    return {path, "IntentJournal", "journal"};
}

}  // namespace

Result<std::unique_ptr<IntentJournal>> IntentJournal::open(const std::filesystem::path& file) {
    const auto descriptor = journalFile(file).open(O_RDWR | O_APPEND | O_CREAT);
    if (!descriptor) {
        return descriptor.error();
    }
    // Owns the descriptor from here on.
    auto journal = std::unique_ptr<IntentJournal>(new IntentJournal(file, descriptor.value()));
    if (auto error = journal->read()) {
        return *std::move(error);
    }
    return journal;
}

IntentJournal::IntentJournal(std::filesystem::path file, int descriptor)
    : file_(std::move(file)), descriptor_(descriptor) {}

IntentJournal::~IntentJournal() {
    close(descriptor_);
}

std::optional<Error> IntentJournal::read() {
    auto text = journalFile(file_).read(descriptor_);
    if (!text) {
        return text.error();
    }
    auto lines = checkedLines(text.value());
    leftovers_ = std::move(lines.texts);
    // What is noted next must not continue a line that was cut off.
    if (lines.wholeSize != text.value().size() && ftruncate(descriptor_, static_cast<off_t>(lines.wholeSize)) != 0) {
        return errorOf(errno, "cannot be written");
    }
    return std::nullopt;
}

std::optional<Error> IntentJournal::note(std::string_view intent) {
    if (intent.find('\n') != std::string_view::npos) {
        fatalError("an intent has no line feed");
    }
    if (writeAll(descriptor_, checkedLine(intent)) && fdatasync(descriptor_) == 0) {
        return std::nullopt;
    }
    auto error = errorOf(errno, "cannot be written");
    // The caller is told that nothing happens: nothing may be finished later, either.
    static_cast<void>(settle());
    return error;
}

std::optional<Error> IntentJournal::settle() {
    leftovers_.clear();
    if (ftruncate(descriptor_, 0) != 0 || fdatasync(descriptor_) != 0) {
        return errorOf(errno, "cannot be emptied");
    }
    return std::nullopt;
}

Error IntentJournal::errorOf(int number, const char* doing) const {
    return journalFile(file_).error(number, doing);
}

}  // namespace quendokit
