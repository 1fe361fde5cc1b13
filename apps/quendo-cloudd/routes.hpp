#pragma once
/// \file
/// Which path is which operation.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo-cloudd/call.hpp"

namespace cloudd {

struct Route {
    std::string_view method;
    Reply<nlohmann::json> (*run)(Call&);
    Scope scope;
};

/// The operation that a path leads to, or why it leads nowhere.
[[nodiscard]] Reply<Route> findRoute(const std::vector<std::string>& path);

}  // namespace cloudd
