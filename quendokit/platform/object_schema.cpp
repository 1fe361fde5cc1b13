#include "quendokit/platform/object_schema.hpp"

#include <algorithm>

#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {

std::string_view nameOf(PropertyType type) noexcept {
    switch (type) {
        case PropertyType::boolean:
            return "boolean";
        case PropertyType::integer:
            return "integer";
        case PropertyType::text:
            return "text";
        case PropertyType::date:
            return "date";
    }
    return "unknown";
}

std::optional<std::size_t> ObjectSchema::indexOf(std::string_view name) const noexcept {
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const Property& property) { return property.name == name; });
    if (found == properties.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - properties.begin());
}

std::size_t ObjectSchema::checkedIndexOf(std::string_view name) const {
    const auto index = indexOf(name);
    if (!index) {
        fatalError(className + " has no property \"" + std::string(name) + "\"");
    }
    return *index;
}

std::size_t ObjectSchema::checkedIndexOf(std::string_view name, PropertyType type) const {
    const std::size_t index = checkedIndexOf(name);
    if (properties[index].type != type) {
        fatalError(className + "." + std::string(name) + " is a " + std::string(nameOf(properties[index].type)) +
                   ", not a " + std::string(nameOf(type)));
    }
    return index;
}

std::size_t ObjectSchema::primaryKeyIndex() const {
    return checkedIndexOf(primaryKey, PropertyType::text);
}

}  // namespace quendokit
