#include "testing/conformance/realm_conformance.hpp"
#include "tests/support/sqlite_realm_factory.hpp"

namespace quendokit::testing {

INSTANTIATE_TEST_SUITE_P(SQLite, RealmConformance,
                         ::testing::Values(RealmImplementation{"SQLite",
                                                               [] { return std::make_unique<SQLiteRealmFactory>(); }}));

}  // namespace quendokit::testing
