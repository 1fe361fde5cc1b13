#pragma once
/// \file
/// `InMemoryRealmFactory`: the database in memory as the suites of tests see it.

#include <memory>
#include <optional>

#include "quendokit/platform/realm_error.hpp"
#include "testing/conformance/realm_factory.hpp"
#include "testing/in_memory_realm.hpp"

namespace quendokit::testing {

/// Its databases cannot be reopened or shared: they are gone with their realm.
class InMemoryRealmFactory final : public RealmFactory {
public:
    [[nodiscard]] std::shared_ptr<Realm> make(const RealmConfiguration& configuration,
                                              const std::optional<OldObjects>& old) override {
        const auto realm = InMemoryRealm::create(configuration, old);
        last_ = realm;
        return realm;
    }

    [[nodiscard]] bool failNextWrite(FailAt at) override {
        const auto realm = last_.lock();
        if (realm) {
            realm->failWrites(1, at, makeRealmError(RealmErrorCode::full, "no room is left"));
        }
        return realm != nullptr;
    }

private:
    std::weak_ptr<InMemoryRealm> last_;
};

}  // namespace quendokit::testing
