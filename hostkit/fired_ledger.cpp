#include "hostkit/fired_ledger.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "hostkit/alarm_json_internal.hpp"
#include "hostkit/durable_file_internal.hpp"
#include "hostkit/tell_internal.hpp"

namespace quendokit {
namespace {

using State = FiredEntry::State;

/// A file of so many lines more than twice its entries is written anew.
constexpr std::size_t spareLines = 1'000;

OwnFile ledgerFile(const std::filesystem::path& path) {
    return {path, "FiredLedger", "ledger of what rang"};
}

std::size_t linesIn(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

Result<std::unique_ptr<FiredLedger>> FiredLedger::open(const std::filesystem::path& file, Date now,
                                                       const std::function<void(const std::string&)>& reports) {
    const auto descriptor = ledgerFile(file).open(O_RDWR | O_APPEND | O_CREAT);
    if (!descriptor) {
        return descriptor.error();
    }
    auto ledger = std::unique_ptr<FiredLedger>(new FiredLedger(file, now));
    ledger->descriptor_ = descriptor.value();
    if (auto error = ledger->read(reports)) {
        return *std::move(error);
    }
    // It was made under a clock that was ahead.
    ledger->beginning_ = std::min(ledger->beginning_, now);
    return ledger;
}

std::unique_ptr<FiredLedger> FiredLedger::inMemory(Date now) {
    return std::unique_ptr<FiredLedger>(new FiredLedger({}, now));
}

FiredLedger::~FiredLedger() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

std::optional<Error> FiredLedger::read(const std::function<void(const std::string&)>& reports) {
    const auto text = ledgerFile(file_).read(descriptor_);
    if (!text) {
        return text.error();
    }
    CheckedLines lines = checkedLines(text.value());
    bool began = false;
    for (const std::string& line : lines.texts) {
        if (auto entry = firedFromLine(line)) {
            remember(*std::move(entry));
        } else if (const auto moments = momentsFromLine(line)) {
            began = true;
            beginning_ = moments->beginning;
            lastCheck_ = moments->lastCheck;
        } else {
            ++lines.damagedCount;
        }
    }
    size_ = lines.wholeSize;
    lineCount_ = linesIn(text.value());
    if (lines.damagedCount > 0) {
        tell(reports, file_.string() + ": " + std::to_string(lines.damagedCount) +
                          " damaged lines in the ledger of what rang are passed over; a reminder may ring again");
    }
    // What is written next must not continue a line that was cut off.
    if (size_ != text.value().size() && ftruncate(descriptor_, static_cast<off_t>(size_)) != 0) {
        return ledgerFile(file_).error(errno, "cannot be written");
    }
    return began ? std::nullopt : append(checkedLine(momentsLine({beginning_, lastCheck_})));
}

void FiredLedger::remember(FiredEntry entry) {
    Entries& ofId = entries_[entry.id];
    const auto place =
        std::find_if(ofId.begin(), ofId.end(), [&](const FiredEntry& other) { return other.isOf(entry.occurrence); });
    if (place != ofId.end()) {
        // The first moment stays the one that is compared with.
        entry.occurrence = place->occurrence;
        if (const auto named = handles_.find(place->handle); named != handles_.end() && place->handle != entry.handle) {
            named->second.erase(entry.id);
        }
    }
    if (!entry.handle.empty()) {
        handles_[entry.handle].insert(entry.id);
    }
    const std::string id = entry.id;
    if (place != ofId.end()) {
        *place = std::move(entry);
    } else {
        ofId.push_back(std::move(entry));
        ++count_;
    }
    if (std::any_of(ofId.begin(), ofId.end(), [](const FiredEntry& one) { return one.state != State::acted; })) {
        open_.insert(id);
    } else {
        open_.erase(id);
    }
}

const FiredEntry* FiredLedger::find(std::string_view id, std::optional<Date> occurrence) const {
    const auto ofId = entries_.find(std::string(id));
    if (ofId == entries_.end()) {
        return nullptr;
    }
    const auto place = std::find_if(ofId->second.begin(), ofId->second.end(),
                                    [&](const FiredEntry& entry) { return entry.isOf(occurrence); });
    return place != ofId->second.end() ? &*place : nullptr;
}

FiredLedger::Entries FiredLedger::shownAs(const std::string& handle) const {
    Entries found;
    const auto named = handles_.find(handle);
    if (handle.empty() || named == handles_.end()) {
        return found;
    }
    for (const std::string& id : named->second) {
        const Entries& ofId = entries_.at(id);
        std::copy_if(ofId.begin(), ofId.end(), std::back_inserter(found),
                     [&](const FiredEntry& entry) { return entry.handle == handle; });
    }
    return found;
}

FiredLedger::Entries FiredLedger::in(State state) const {
    Entries found;
    for (const std::string& id : open_) {
        const Entries& ofId = entries_.at(id);
        std::copy_if(ofId.begin(), ofId.end(), std::back_inserter(found),
                     [&](const FiredEntry& entry) { return entry.state == state; });
    }
    return found;
}

std::optional<Error> FiredLedger::put(const Entries& entries, std::optional<Date> checked) {
    std::string text;
    const auto note = [&](const FiredEntry& entry) {
        text += checkedLine(firedLine(entry));
        remember(entry);
    };
    // A service that starts anew may begin its names anew: what had one of them before is off the screen.
    for (FiredEntry& before : namesakes(entries)) {
        before.handle.clear();
        before.state = State::acted;
        note(before);
    }
    for (const FiredEntry& entry : entries) {
        note(entry);
    }
    if (checked) {
        lastCheck_ = checked;
        text += checkedLine(momentsLine({beginning_, lastCheck_}));
    }
    return append(text);
}

FiredLedger::Entries FiredLedger::namesakes(const Entries& entries) const {
    Entries others;
    std::unordered_set<std::string> asked;
    for (const FiredEntry& entry : entries) {
        if (entry.handle.empty() || !asked.insert(entry.handle).second) {
            continue;
        }
        for (FiredEntry& before : shownAs(entry.handle)) {
            const bool isAmong = std::any_of(entries.begin(), entries.end(), [&](const FiredEntry& one) {
                return one.id == before.id && one.isOf(before.occurrence);
            });
            // Of several in one notification, each goes its own way.
            if (!isAmong && !(entry.inSummary && before.inSummary)) {
                others.push_back(std::move(before));
            }
        }
    }
    return others;
}

std::optional<Error> FiredLedger::append(const std::string& text) {
    if (file_.empty()) {
        return std::nullopt;
    }
    unwritten_ += text;
    if (unwritten_.empty()) {
        return std::nullopt;
    }
    if (descriptor_ < 0) {
        const auto descriptor = ledgerFile(file_).open(O_RDWR | O_APPEND | O_CREAT);
        if (!descriptor) {
            return descriptor.error();
        }
        descriptor_ = descriptor.value();
    }
    ++syncCount_;
    if (writeAll(descriptor_, unwritten_) && fdatasync(descriptor_) == 0) {
        size_ += unwritten_.size();
        lineCount_ += linesIn(unwritten_);
        unwritten_.clear();
        return std::nullopt;
    }
    auto error = ledgerFile(file_).error(errno, "cannot be written");
    // Nothing is to continue a line that broke off. If even that fails, a line of its own ends it.
    if (ftruncate(descriptor_, static_cast<off_t>(size_)) != 0 && !unwritten_.starts_with('\n')) {
        unwritten_.insert(0, 1, '\n');
    }
    return error;
}

std::string FiredLedger::wholeText() const {
    std::string text = checkedLine(momentsLine({beginning_, lastCheck_}));
    for (const auto& [id, ofId] : entries_) {
        for (const FiredEntry& entry : ofId) {
            text += checkedLine(firedLine(entry));
        }
    }
    return text;
}

std::optional<Error> FiredLedger::compact(const std::function<bool(const FiredEntry&)>& isNeeded) {
    if (file_.empty() || lineCount_ <= 2 * count_ + spareLines) {
        return std::nullopt;
    }
    for (auto ofId = entries_.begin(); ofId != entries_.end();) {
        count_ -= std::erase_if(ofId->second, [&](const FiredEntry& entry) {
            if (entry.state != State::acted || isNeeded(entry)) {
                return false;
            }
            if (const auto named = handles_.find(entry.handle); named != handles_.end()) {
                named->second.erase(entry.id);
            }
            return true;
        });
        ofId = ofId->second.empty() ? entries_.erase(ofId) : std::next(ofId);
    }
    std::erase_if(handles_, [](const auto& named) { return named.second.empty(); });
    const std::string text = wholeText();
    ++syncCount_;
    if (auto error = ledgerFile(file_).replace(text)) {
        return error;
    }
    // The next line opens the new file: what went to the old one would be lost with it.
    close(std::exchange(descriptor_, -1));
    unwritten_.clear();
    size_ = text.size();
    lineCount_ = linesIn(text);
    return std::nullopt;
}

}  // namespace quendokit
