#pragma once
/// \file
/// Finding the answer to one item of a request among the answers to all.

#include <cstddef>
#include <string>

#include "adapters/cloudkit_web/web_json_internal.hpp"

namespace quendokit::web {

/// Which member says what an item is about; of a zone it is the name within "zoneID".
enum class ItemKind { record, zone, subscription };

/// The name of the item; empty when it has none.
[[nodiscard]] std::string nameIn(const Json& item, ItemKind kind);

/// The item of `list` that is about `name`; else the nameless one at `index`, where its answer belongs; null when there
/// is none.
[[nodiscard]] const Json* answerTo(const std::string& name, std::size_t index, const Json& list, ItemKind kind);

}  // namespace quendokit::web
