#include <algorithm>
#include <cstdint>
#include <string_view>
#include <variant>

#include "hostkit/upload_quarantine_internal.hpp"

namespace quendokit {
namespace {

/// How many bytes the first character of `text` takes; 0 when it is none.
std::size_t lengthOfCharacter(std::string_view text) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byteAt(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) {
        return 0;
    }
    std::uint32_t character = first & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xc0U) != 0x80U) {
            return 0;
        }
        character = (character << 6U) | (byteAt(i) & 0x3fU);
    }
    const bool isTooLong = character < (length == 4 ? 0x10000U : length == 3 ? 0x800U : 0x80U);
    const bool isHalf = character >= 0xd800 && character <= 0xdfff;
    return isTooLong || isHalf || character > 0x10ffff ? 0 : length;
}

bool isSendable(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        return false;
    }
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace

bool UploadQuarantine::holds(const CKRecord& record) const {
    const auto found = refused_.find(record.recordID().recordName);
    return found != refused_.end() && found->second == record.values();
}

void UploadQuarantine::add(const CKRecord& record) {
    refused_.insert_or_assign(record.recordID().recordName, record.values());
}

void UploadQuarantine::forget(const std::string& recordName) {
    refused_.erase(recordName);
}

bool hasSendableText(const CKRecord& record) {
    return std::all_of(record.values().begin(), record.values().end(), [](const auto& entry) {
        const auto* text = std::get_if<std::string>(&entry.second);
        return text == nullptr || isSendable(*text);
    });
}

std::size_t sizeInRequest(const CKRecord& record) {
    // What stands around the values, roughly.
    std::size_t size = 200 + record.recordID().recordName.size();
    for (const auto& [key, value] : record.values()) {
        size += key.size() + 40;
        if (const auto* text = std::get_if<std::string>(&value)) {
            size += text->size();
        } else if (const auto* bytes = std::get_if<std::vector<std::byte>>(&value)) {
            size += bytes->size() * 4 / 3;
        }
    }
    return size;
}

}  // namespace quendokit
