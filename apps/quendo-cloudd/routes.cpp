#include "apps/quendo-cloudd/routes.hpp"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

namespace cloudd {
namespace {

struct Operation {
    std::string_view group;
    std::string_view name;
    std::string_view method;
    Reply<nlohmann::json> (*run)(Call&);
};

constexpr std::array<Operation, 16> operations{{
    {"zones", "list", "GET", listZones},
    {"zones", "lookup", "POST", lookUpZones},
    {"zones", "modify", "POST", modifyZones},
    {"zones", "changes", "POST", changedZones},
    {"records", "modify", "POST", modifyRecords},
    {"records", "lookup", "POST", lookUpRecords},
    {"records", "changes", "POST", changesInOneZone},
    {"changes", "zone", "POST", changesInZones},
    {"changes", "database", "POST", changesInDatabase},
    {"subscriptions", "list", "GET", listSubscriptions},
    {"subscriptions", "lookup", "POST", lookUpSubscriptions},
    {"subscriptions", "modify", "POST", modifySubscriptions},
    {"tokens", "create", "POST", createCourierToken},
    {"tokens", "register", "POST", registerCourierToken},
    {"users", "current", "GET", currentUser},
    {"users", "caller", "GET", caller},
}};

const WireError noHandler{ErrorCode::notFound, "could not find handler for endpoint"};

}  // namespace

Reply<Route> findRoute(const std::vector<std::string>& path) {
    // MODULE/1/CONTAINER/ENVIRONMENT/[DATABASE/]GROUP/OPERATION
    const bool isDevice = !path.empty() && path[0] == "device";
    if ((path.size() != 6 && path.size() != 7) || (path[0] != "database" && !isDevice) || path[1] != "1") {
        return noHandler;
    }
    const std::string& group = path[path.size() - 2];
    const auto found = std::find_if(operations.begin(), operations.end(), [&](const Operation& operation) {
        return operation.group == group && operation.name == path.back();
    });
    // Push tokens stand beside the databases, everything else in one.
    if (found == operations.end() || (path.size() == 6) != (group == "tokens") || (isDevice && group != "tokens")) {
        return noHandler;
    }
    if (path.size() == 7 && path[4] != "private" && path[4] != "public" && path[4] != "shared") {
        return noHandler;
    }
    if (path.size() == 7 && path[4] != "private" && group != "users") {
        return badRequest("endpoint not applicable in the database type '" + path[4] + "db'");
    }
    constexpr std::size_t longest = 255;
    if (path[2].size() > longest || path[3].size() > longest) {
        return badRequest("the name of the container or of the environment is too long");
    }
    return Route{found->method, found->run, {path[2], path[3]}};
}

}  // namespace cloudd
