#pragma once
/// \file
/// The fields of records: what may stand in a request, and how it is answered.

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "apps/quendo-cloudd/wire.hpp"

namespace cloudd {

/// One field of a request.
struct FieldChange {
    std::string name;
    /// `{"type": …, "value": …}` as it is stored; null when the field is to go.
    std::string stored = {};
    bool isNull = false;
    /// The request said which type it is.
    bool isTagged = false;
    std::string type = {};
};

/// Reads `fields` of a record. A value without a type has the one that its JSON suggests; a boolean is the INT64 0
/// or 1. Refuses a value that is not of its type, and names the field.
[[nodiscard]] Reply<std::vector<FieldChange>> readFields(const nlohmann::json& fields);

/// How fields are answered.
struct FieldChoice {
    /// Those that are wanted; all when absent.
    std::optional<std::vector<std::string>> desiredKeys = {};
    bool numbersAsStrings = false;
};

/// Reads `desiredKeys` and `numbersAsStrings` of a request or one of its entries; what is missing is as in `otherwise`.
[[nodiscard]] Reply<FieldChoice> readFieldChoice(const nlohmann::json& object, const FieldChoice& otherwise);

/// The stored fields as `choice` wants them.
[[nodiscard]] nlohmann::json fieldsFor(std::string_view stored, const FieldChoice& choice);

}  // namespace cloudd
