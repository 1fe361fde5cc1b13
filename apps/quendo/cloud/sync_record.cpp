#include "apps/quendo/cloud/sync_record.hpp"

#include <variant>

namespace quendo {

std::optional<quendokit::Date> SyncRecord::date(const char* key) const {
    const auto value = settings_.object(key);
    const auto* seconds = value ? std::get_if<double>(&*value) : nullptr;
    return seconds != nullptr ? std::optional(quendokit::Date(*seconds)) : std::nullopt;
}

std::optional<std::string> SyncRecord::lastError() const {
    const auto value = settings_.object(errorKey);
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

void SyncRecord::ended(const std::optional<std::string>& error) {
    if (error) {
        settings_.set(errorKey, *error);
    } else {
        settings_.remove(errorKey);
    }
}

void SyncRecord::forget() {
    for (const char* const key : {uploadKey, downloadKey, errorKey}) {
        settings_.remove(key);
    }
}

}  // namespace quendo
