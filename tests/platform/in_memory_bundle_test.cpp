#include "testing/in_memory_bundle.hpp"

#include <memory>

#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

using Texts = std::vector<std::string>;
using Translations = InMemoryBundle::Translations;
using Bundles = InMemoryBundleProvider::Bundles;

TEST(InMemoryBundle, AKeyOfTheTableIsTranslated) {
    const InMemoryBundle bundle(Translations{{"hour", "Stunde"}});
    EXPECT_EQ(bundle.localizedString("hour", ""), "Stunde");
}

TEST(InMemoryBundle, AnUntranslatedKeyGivesItself) {
    const InMemoryBundle bundle(Translations{{"hour", "Stunde"}, {"hours", ""}});
    EXPECT_EQ(bundle.localizedString("Hour", ""), "Hour");
    EXPECT_EQ(bundle.localizedString("hours", ""), "hours");
}

TEST(InMemoryBundle, TheEmptyKeyHasNoTranslation) {
    const InMemoryBundle bundle(Translations{{"", "the table's header"}});
    EXPECT_EQ(bundle.localizedString("", ""), "");
}

TEST(InMemoryBundle, RemembersEachLookUpWithItsComment) {
    const InMemoryBundle bundle(Translations{{"hour", "Stunde"}});
    static_cast<void>(bundle.localizedString("hour", "first"));
    static_cast<void>(bundle.localizedString("later", "another key"));
    static_cast<void>(bundle.localizedString("hour", ""));
    EXPECT_EQ(bundle.lookUpCount("hour"), 2U);
    EXPECT_EQ(bundle.comments("hour"), (Texts{"first", ""}));
    EXPECT_EQ(bundle.comments("later"), Texts{"another key"});
    EXPECT_EQ(bundle.lookUpCount("minutes"), 0U);
    EXPECT_EQ(bundle.comments("minutes"), Texts{});
}

TEST(InMemoryBundleProvider, FindsWhatItWasGiven) {
    const auto bundle = std::make_shared<InMemoryBundle>();
    const InMemoryBundleProvider provider(Bundles{{"net.example.texts", bundle}});
    EXPECT_EQ(provider.bundle("net.example.texts"), bundle);
    EXPECT_EQ(provider.bundle("net.example"), nullptr);
    EXPECT_EQ(provider.bundle(""), nullptr);
    EXPECT_EQ(provider.lookUpCount(), 3U);
}

}  // namespace
}  // namespace quendokit::testing
