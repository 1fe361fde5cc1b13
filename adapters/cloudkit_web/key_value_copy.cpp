#include <span>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/key_value_copy_internal.hpp"
#include "adapters/cloudkit_web/key_value_text_internal.hpp"
#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/base64.hpp"

namespace quendokit::web {
namespace {

// Stored format.
constexpr const char* tokenMember = "token";
constexpr const char* entriesMember = "entries";
constexpr const char* nameMember = "name";
constexpr const char* kindMember = "kind";
constexpr const char* valueMember = "value";
constexpr const char* unsentMember = "unsent";

/// Takes over the entry that `json` is; false when it is none.
bool take(const Json& json, KeyValueCopy& copy) {
    const std::string* name = textMember(json, nameMember);
    const auto key = name == nullptr ? std::nullopt : fromBase64(*name);
    const auto isUnsent = flagMember(json, unsentMember);
    if (!key || !isUnsent) {
        return false;
    }
    KeyValueEntry entry;
    entry.unsentChange = *isUnsent ? 1 : 0;
    const std::string* kind = textMember(json, kindMember);
    const std::string* content = textMember(json, valueMember);
    if (kind != nullptr && content != nullptr) {
        entry.value = propertyOf({*kind, *content});
    }
    const bool isRemoval = member(json, kindMember) == nullptr && *isUnsent;
    if (!entry.value && !isRemoval) {
        return false;
    }
    copy.entries.insert_or_assign(std::string(reinterpret_cast<const char*>(key->data()), key->size()),
                                  std::move(entry));
    return true;
}

}  // namespace

std::string renderCopy(const KeyValueCopy& copy) {
    Json entries = Json::array();
    for (const auto& [key, entry] : copy.entries) {
        Json json = Json::object();
        json[nameMember] = base64(std::as_bytes(std::span(key)));
        if (entry.value) {
            KeyValueText text = textOf(*entry.value);
            json[kindMember] = std::move(text.kind);
            json[valueMember] = std::move(text.content);
        }
        if (entry.unsentChange != 0) {
            json[unsentMember] = true;
        }
        entries.push_back(std::move(json));
    }
    Json json = Json::object();
    json[entriesMember] = std::move(entries);
    if (copy.token) {
        json[tokenMember] = base64(copy.token->data());
    }
    return rendered(json).value_or("{}");
}

KeyValueCopy parseCopy(std::string_view text) {
    KeyValueCopy copy;
    const auto json = parsed(text);
    const Json* entries = json ? listMember(json.value(), entriesMember) : nullptr;
    if (entries == nullptr) {
        return copy;
    }
    bool isWhole = true;
    for (const Json& entry : *entries) {
        isWhole = take(entry, copy) && isWhole;
    }
    const std::string* token = textMember(json.value(), tokenMember);
    auto data = token == nullptr || !isWhole ? std::nullopt : fromBase64(*token);
    if (data) {
        copy.token = CKServerChangeToken(*std::move(data));
    }
    return copy;
}

}  // namespace quendokit::web
