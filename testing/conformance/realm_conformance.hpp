#pragma once
/// \file
/// The conformance suite of `Realm`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyDatabase, RealmConformance, ::testing::Values(RealmImplementation{
///         "MyDatabase", [] { return std::make_unique<MyRealmFactory>(); }}));
///     }

#include "testing/conformance/realm_connection_conformance.hpp"
#include "testing/conformance/realm_fatal_conformance.hpp"
#include "testing/conformance/realm_migration_conformance.hpp"
#include "testing/conformance/realm_order_conformance.hpp"
#include "testing/conformance/realm_query_conformance.hpp"
#include "testing/conformance/realm_transaction_conformance.hpp"
#include "testing/conformance/realm_value_conformance.hpp"
#include "testing/conformance/realm_write_conformance.hpp"
