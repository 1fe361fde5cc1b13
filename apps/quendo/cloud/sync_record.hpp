#pragma once
/// \file
/// `SyncRecord`, when the reminders were last in step with the cloud.

#include <filesystem>
#include <optional>
#include <string>

#include "adapters/files/file_user_defaults.hpp"
#include "quendokit/platform/date.hpp"

namespace quendo {

/// Kept in a file of the state folder; may be lost.
class SyncRecord {
public:
    explicit SyncRecord(const std::filesystem::path& file) : settings_({file}) {}

    [[nodiscard]] std::optional<quendokit::Date> lastUpload() const { return date(uploadKey); }
    [[nodiscard]] std::optional<quendokit::Date> lastDownload() const { return date(downloadKey); }
    /// Why the last sync failed; absent when it did not.
    [[nodiscard]] std::optional<std::string> lastError() const;

    void uploaded(quendokit::Date now) { settings_.set(uploadKey, now.timeIntervalSince1970()); }
    void downloaded(quendokit::Date now) { settings_.set(downloadKey, now.timeIntervalSince1970()); }
    void ended(const std::optional<std::string>& error);
    void forget();

private:
    static constexpr const char* uploadKey = "sync.last-upload";
    static constexpr const char* downloadKey = "sync.last-download";
    static constexpr const char* errorKey = "sync.last-error";

    [[nodiscard]] std::optional<quendokit::Date> date(const char* key) const;

    quendokit::FileUserDefaults settings_;
};

}  // namespace quendo
