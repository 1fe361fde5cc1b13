#pragma once
/// \file
/// The conformance suite of `RunLoop`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyLoop, RunLoopConformance, ::testing::Values(RunLoopImplementation{
///         "MyLoop", [] { return std::make_unique<MyRunLoopFactory>(); }}));
///     }

#include "testing/conformance/run_loop_firing_conformance.hpp"
#include "testing/conformance/run_loop_invalidation_conformance.hpp"
#include "testing/conformance/run_loop_ownership_conformance.hpp"
#include "testing/conformance/run_loop_repeating_conformance.hpp"
