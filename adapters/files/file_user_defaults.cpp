#include "adapters/files/file_user_defaults.hpp"

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "adapters/files/files_error_internal.hpp"
#include "adapters/files/property_json_internal.hpp"
#include "adapters/files/property_table_internal.hpp"
#include "adapters/files/settings_document_internal.hpp"
#include "adapters/files/settings_file_internal.hpp"

namespace quendokit {
namespace {

using files::SettingsDocument;

/// What the file held at one moment.
struct Content {
    /// Absent when there is no file.
    std::optional<std::string> text;
    SettingsDocument document;
    /// Why it holds no settings; empty when it does.
    std::string damage;
};

Result<Content> contentOf(Result<std::optional<std::string>> read) {
    if (!read) {
        return read.error();
    }
    Content content{std::move(read).value(), {}, {}};
    if (content.text) {
        auto parsed = files::parseSettings(*content.text);
        content.document = std::move(parsed.document);
        content.damage = std::move(parsed.damage);
    }
    return content;
}

/// How a write of the file went.
struct Outcome {
    /// Why the write did not succeed.
    std::optional<Error> failure;
    /// What was wrong with the file that the write found; empty when nothing was.
    std::string damage;
    /// Where the damaged file lies now.
    std::filesystem::path aside;
};

}  // namespace

/// Two locks: one for the values, held for a look-up, and one for the file, held for a whole write. Readers never wait
/// for the disk.
class FileUserDefaults::State {
public:
    explicit State(FileUserDefaultsOptions options)
        : options_(std::move(options)),
          file_(options_.file, options_.operations ? options_.operations : std::make_shared<files::FileOperations>()) {}

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const {
        const std::lock_guard lock(valuesMutex_);
        const PropertyValue* found = values_.find(key);
        return found == nullptr ? std::nullopt : std::optional<PropertyValue>(*found);
    }

    /// Puts `value` under `key`; an absent one removes.
    void change(std::string_view key, std::optional<PropertyValue> value) {
        std::optional<Error> failure;
        {
            const std::lock_guard lock(fileMutex_);
            auto json = value ? std::optional(files::jsonOf(*value)) : std::nullopt;
            remember(key, std::move(value));
            if (!files::jsonOfKey(key)) {
                failure = unkeepable("a key that is not UTF-8 cannot be kept; use another key");
            } else if (!isInFile(key, json)) {
                unsaved_.insert_or_assign(std::string(key), std::move(json));
                failure = toldOf(write({}));
            }
        }
        tell(failure);
    }

    void refresh() {
        std::optional<Error> failure;
        {
            const std::lock_guard lock(fileMutex_);
            auto found = contentOf(file_.read(true));
            if (!found) {
                failure = found.error();
            } else {
                const std::string damage = found.value().damage;
                takeOver(damage.empty() ? std::move(found).value() : lastGood());
                if (!damage.empty() || !unsaved_.empty()) {
                    failure = toldOf(write(damage));
                }
            }
        }
        tell(failure);
    }

private:
    void remember(std::string_view key, std::optional<PropertyValue> value) {
        const std::lock_guard lock(valuesMutex_);
        if (value) {
            values_.assign(key, std::move(*value));
        } else {
            values_.erase(key);
        }
    }

    /// Whether the file says of `key` what it shall say, and is the one that was read or written last.
    [[nodiscard]] bool isInFile(std::string_view key, const std::optional<std::string>& json) const {
        const auto found = known_.document.find(key);
        const bool stands = found != known_.document.end();
        if (unsaved_.contains(key) || stands != json.has_value() || (stands && found->second != *json)) {
            return false;
        }
        auto text = file_.read(true);
        return text && text.value() == known_.text;
    }

    /// What the settings were before the file was damaged, as well as that is known.
    [[nodiscard]] Content lastGood() const {
        if (isLoaded_) {
            return known_;
        }
        auto backup = contentOf(file_.readBackup());
        return backup && backup.value().damage.empty() ? std::move(backup).value() : Content();
    }

    /// Makes `content` what is known of the file, and the values what it says, but for our own unsaved changes.
    void takeOver(Content content) {
        for (const auto& [key, json] : known_.document) {
            if (!content.document.contains(key) && !unsaved_.contains(key)) {
                remember(key, std::nullopt);
            }
        }
        for (const auto& [key, json] : content.document) {
            const auto before = known_.document.find(key);
            const bool isNews = before == known_.document.end() || before->second != json;
            if (isNews && !unsaved_.contains(key)) {
                remember(key, files::propertyOf(json));
            }
        }
        known_ = std::move(content);
        isLoaded_ = true;
    }

    /// Reads the file and writes what is unsaved into it. `damage` was wrong with it a moment ago, when nobody else was
    /// kept from it.
    Outcome write(const std::string& damage) {
        const auto lock = file_.lock(isLocked_ ? std::chrono::milliseconds(0) : options_.lockTimeout);
        isLocked_ = !lock && lock.error().code == static_cast<int>(FileUserDefaultsErrorCode::locked);
        auto found = lock ? contentOf(file_.read(true)) : Result<Content>(lock.error());
        if (!found) {
            return {found.error(), damage, {}};
        }
        Outcome outcome{{}, found.value().damage, {}};
        takeOver(outcome.damage.empty() ? std::move(found).value() : lastGood());
        if (outcome.damage.empty() && unsaved_.empty()) {
            // Another process has mended it meanwhile.
            return outcome;
        }
        Content next{{}, known_.document, {}};
        for (const auto& [changed, json] : unsaved_) {
            if (json) {
                next.document.insert_or_assign(changed, *json);
            } else {
                next.document.erase(changed);
            }
        }
        next.text = files::renderSettings(next.document);
        if (next.text->size() > files::largestFile && !unsaved_.empty()) {
            outcome.failure = giveUpLargestChange();
            return outcome;
        }
        if (outcome.damage.empty()) {
            outcome.failure = file_.replace(*next.text, known_.text);
        } else if (auto aside = file_.replaceDamaged(*next.text)) {
            outcome.aside = aside.value();
        } else {
            outcome.failure = aside.error();
        }
        if (!outcome.failure) {
            known_ = std::move(next);
            unsaved_.clear();
        }
        return outcome;
    }

    Error giveUpLargestChange() {
        auto largest = unsaved_.begin();
        for (auto each = unsaved_.begin(); each != unsaved_.end(); ++each) {
            if (each->second.value_or("").size() > largest->second.value_or("").size()) {
                largest = each;
            }
        }
        const std::string key = *files::jsonOfKey(largest->first);
        unsaved_.erase(largest);
        return unkeepable("the value of " + key + " is too large, the file holds 4 MB; keep it somewhere else");
    }

    [[nodiscard]] Error unkeepable(const std::string& why) const {
        return files::makeFilesError(FileUserDefaultsErrorCode::invalidValue, options_.file.string() + ": " + why);
    }

    /// What the host is told of a write.
    [[nodiscard]] std::optional<Error> toldOf(const Outcome& outcome) const {
        if (outcome.damage.empty()) {
            if (!outcome.failure) {
                return std::nullopt;
            }
            Error error = *outcome.failure;
            if (!unsaved_.empty()) {
                error.description += " (the change is not saved)";
            }
            return error;
        }
        const std::string used =
            known_.document.empty() ? "no setting is left" : "the last ones known to be good are used";
        return files::makeFilesError(
            FileUserDefaultsErrorCode::damaged,
            options_.file.string() + ": the settings are damaged, " + outcome.damage + "; " + used +
                (outcome.failure ? ", and the file stays there: " + outcome.failure->description
                                 : ", and the damaged file is kept as " + outcome.aside.string()));
    }

    void tell(const std::optional<Error>& failure) const {
        if (failure && options_.onFailure) {
            options_.onFailure(*failure);
        }
    }

    const FileUserDefaultsOptions options_;
    const files::SettingsFile file_;

    mutable std::mutex valuesMutex_;
    files::PropertyTable values_;

    std::mutex fileMutex_;
    /// What the file held when it was read or written last.
    Content known_;
    bool isLoaded_ = false;
    /// Whether the last write waited in vain for another process.
    bool isLocked_ = false;
    /// Our own changes that the file does not hold; an absent one removes.
    std::map<std::string, std::optional<std::string>, std::less<>> unsaved_;
};

FileUserDefaults::FileUserDefaults(FileUserDefaultsOptions options)
    : state_(std::make_unique<State>(std::move(options))) {
    state_->refresh();
}

FileUserDefaults::~FileUserDefaults() = default;

std::optional<PropertyValue> FileUserDefaults::object(std::string_view key) const {
    return state_->object(key);
}

void FileUserDefaults::set(std::string_view key, PropertyValue value) {
    state_->change(key, std::move(value));
}

void FileUserDefaults::remove(std::string_view key) {
    state_->change(key, std::nullopt);
}

void FileUserDefaults::reload() {
    state_->refresh();
}

std::optional<Error> FileUserDefaults::examine(const std::filesystem::path& file) {
    auto content = contentOf(files::SettingsFile(file, std::make_shared<files::FileOperations>()).read(false));
    if (!content) {
        return content.error();
    }
    const std::string& damage = content.value().damage;
    return damage.empty() ? std::nullopt
                          : std::optional(files::makeFilesError(
                                FileUserDefaultsErrorCode::damaged,
                                file.string() + ": the settings are damaged, " + damage +
                                    "; mend the file, or move it aside and its backup in its place"));
}

}  // namespace quendokit
