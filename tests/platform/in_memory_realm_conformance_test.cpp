#include "testing/conformance/realm_conformance.hpp"
#include "tests/support/in_memory_realm_factory.hpp"

namespace quendokit::testing {

INSTANTIATE_TEST_SUITE_P(InMemory, RealmConformance,
                         ::testing::Values(RealmImplementation{
                             "InMemory", [] { return std::make_unique<InMemoryRealmFactory>(); }}));

}  // namespace quendokit::testing
