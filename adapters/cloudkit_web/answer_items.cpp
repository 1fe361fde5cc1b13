#include <algorithm>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/answer_items_internal.hpp"

namespace quendokit::web {
namespace {

const std::string* nameOf(const Json& item, ItemKind kind) {
    switch (kind) {
        case ItemKind::record:
            return textMember(item, "recordName");
        case ItemKind::zone: {
            const Json* zone = member(item, "zoneID");
            return zone == nullptr ? nullptr : textMember(*zone, "zoneName");
        }
        case ItemKind::subscription:
            return textMember(item, "subscriptionID");
    }
    return nullptr;
}

}  // namespace

std::string nameIn(const Json& item, ItemKind kind) {
    const std::string* name = nameOf(item, kind);
    return name == nullptr ? std::string() : *name;
}

const Json* answerTo(const std::string& name, std::size_t index, const Json& list, ItemKind kind) {
    const auto named = std::find_if(list.begin(), list.end(), [&](const Json& item) {
        const std::string* said = nameOf(item, kind);
        return said != nullptr && *said == name;
    });
    if (named != list.end()) {
        return &*named;
    }
    return index < list.size() && nameOf(list[index], kind) == nullptr ? &list[index] : nullptr;
}

}  // namespace quendokit::web
