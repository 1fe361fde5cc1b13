// The doubles of texts and locale keep the promises of their interfaces.

#include "testing/conformance/bundle_conformance.hpp"
#include "testing/conformance/locale_conformance.hpp"
#include "testing/fixed_locale.hpp"
#include "testing/in_memory_bundle.hpp"

namespace quendokit::testing {
namespace {

std::shared_ptr<const BundleProvider> germanInMemory() {
    const auto german =
        std::make_shared<InMemoryBundle>(InMemoryBundle::Translations{{"hour", "Stunde"}, {"later", "Später"}});
    return std::make_shared<InMemoryBundleProvider>(InMemoryBundleProvider::Bundles{{"net.example.texts", german}});
}

INSTANTIATE_TEST_SUITE_P(InMemory, BundleConformance,
                         ::testing::Values(BundleImplementation{
                             .name = "InMemory",
                             .makeProvider = germanInMemory,
                             .identifier = "net.example.texts",
                             .translations = {{"hour", "Stunde"}, {"later", "Später"}}}));

INSTANTIATE_TEST_SUITE_P(
    Fixed, LocaleConformance,
    ::testing::Values(LocaleImplementation{
        .name = "Fixed", .makeLocale = [] { return std::make_shared<FixedLocale>(); }, .sunday = "Sunday"}));

}  // namespace
}  // namespace quendokit::testing
