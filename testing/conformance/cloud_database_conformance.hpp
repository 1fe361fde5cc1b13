#pragma once
/// \file
/// The conformance suite of `CKDatabase`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there, for both of its halves:
///
///     namespace quendokit::testing {
///     const auto mine = ::testing::Values(CloudDatabaseImplementation{
///         "MyCloud", [] { return std::make_unique<MyCloudDatabaseFactory>(); }});
///     INSTANTIATE_TEST_SUITE_P(MyCloud, CloudDatabaseConformance, mine);
///     INSTANTIATE_TEST_SUITE_P(MyCloud, CloudSubscriptionConformance, mine);
///     }

#include "testing/conformance/cloud_changes_conformance.hpp"
#include "testing/conformance/cloud_operations_conformance.hpp"
#include "testing/conformance/cloud_records_conformance.hpp"
