#include "testing/conformance/realm_conformance.hpp"
#include "testing/in_memory_realm.hpp"

namespace quendokit::testing {

/// Put your database in the place of the one in memory.
class MyRealmFactory final : public RealmFactory {
public:
    [[nodiscard]] std::shared_ptr<Realm> make(const RealmConfiguration& configuration,
                                              const std::optional<OldObjects>& old) override {
        return InMemoryRealm::create(configuration, old);
    }
};

INSTANTIATE_TEST_SUITE_P(MyDatabase, RealmConformance,
                         ::testing::Values(RealmImplementation{"Mine",
                                                               [] { return std::make_unique<MyRealmFactory>(); }}));

}  // namespace quendokit::testing
