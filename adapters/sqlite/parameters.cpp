#include <string>
#include <variant>

#include "adapters/sqlite/parameters_internal.hpp"

namespace quendokit::sqlite {

void ParameterWriter::value(std::size_t property, const Value& value) {
    switch (typeOf(value)) {
        case PropertyType::boolean:
            return boolean(property, std::get<bool>(value));
        case PropertyType::integer:
            return integer(property, std::get<std::int64_t>(value));
        case PropertyType::text:
            return text(property, std::get<std::string>(value));
        case PropertyType::date:
            return date(property, std::get<Date>(value));
    }
}

}  // namespace quendokit::sqlite
