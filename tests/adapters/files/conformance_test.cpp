#include "testing/conformance/user_defaults_conformance.hpp"
#include "tests/support/file_user_defaults_factory.hpp"

namespace quendokit::testing {

INSTANTIATE_TEST_SUITE_P(Files, UserDefaultsConformance,
                         ::testing::Values(UserDefaultsImplementation{
                             "Files", [] { return std::make_unique<FileUserDefaultsFactory>(); }}));

}  // namespace quendokit::testing
