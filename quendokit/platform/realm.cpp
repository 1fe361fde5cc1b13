#include "quendokit/platform/realm.hpp"

#include "quendokit/platform/services.hpp"

namespace quendokit {

Result<std::shared_ptr<Realm>> Realm::open(const Configuration& configuration) {
    return platform::realmProvider().open(configuration);
}

}  // namespace quendokit
