#include "quendokit/model/words.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/in_memory_bundle.hpp"

namespace quendokit {
namespace {

using testing::InMemoryBundle;
using testing::InMemoryBundleProvider;

struct Word {
    const std::string& (*get)();
    std::string key;
    std::string comment;
};

std::vector<Word> allWords() {
    return {
        {words::minutes, "minutes", "'minute' plural"},
        {words::hour, "hour", "'hour' singular'"},
        {words::hours, "hours", "'hour' plural"},
        {words::morning, "Morning", "the word 'morning'"},
        {words::afternoon, "Afternoon", "the word 'afternoon'"},
        {words::evening, "Evening", "the word 'evening'"},
        {words::later, "later", "the word 'later'"},
    };
}

platform::Services speaking(std::shared_ptr<const Bundle> bundle) {
    platform::Services services;
    services.bundleProvider =
        std::make_shared<InMemoryBundleProvider>(InMemoryBundleProvider::Bundles{{"texts", std::move(bundle)}});
    services.FrameworkBundleIdentifier = "texts";
    return services;
}

TEST(Words, AreTheirKeysWithoutTranslations) {
    const platform::ScopedInstall scope(speaking(std::make_shared<InMemoryBundle>()));
    for (const Word& word : allWords()) {
        EXPECT_EQ(word.get(), word.key);
    }
}

TEST(Words, AreTranslated) {
    const platform::ScopedInstall scope(speaking(std::make_shared<InMemoryBundle>(
        InMemoryBundle::Translations{{"minutes", "Minuten"}, {"Morning", "Morgen"}, {"later", "später"}})));
    EXPECT_EQ(words::minutes(), "Minuten");
    EXPECT_EQ(words::morning(), "Morgen");
    EXPECT_EQ(words::later(), "später");
    EXPECT_EQ(words::hours(), "hours");
}

TEST(Words, AreLookedUpOnceOnFirstUseWithTheCommentForTranslators) {
    const auto bundle = std::make_shared<InMemoryBundle>();
    const platform::ScopedInstall scope(speaking(bundle));
    for (const Word& word : allWords()) {
        EXPECT_EQ(bundle->lookUpCount(word.key), 0U) << word.key;
        static_cast<void>(word.get());
        static_cast<void>(word.get());
        EXPECT_EQ(bundle->comments(word.key), std::vector<std::string>{word.comment});
    }
}

TEST(Words, AreLookedUpAgainByTheNextProcess) {
    {
        const platform::ScopedInstall scope(
            speaking(std::make_shared<InMemoryBundle>(InMemoryBundle::Translations{{"hour", "Stunde"}})));
        EXPECT_EQ(words::hour(), "Stunde");
    }
    const platform::ScopedInstall scope(
        speaking(std::make_shared<InMemoryBundle>(InMemoryBundle::Translations{{"hour", "heure"}})));
    EXPECT_EQ(words::hour(), "heure");
}

TEST(BundleQuendoKit, IsFoundOnceByTheIdentifierOfTheServices) {
    const auto texts = std::make_shared<InMemoryBundle>();
    const auto provider = std::make_shared<InMemoryBundleProvider>(InMemoryBundleProvider::Bundles{
        {"others", std::make_shared<InMemoryBundle>()}, {"net.example.quendokit", texts}});
    platform::Services services;
    services.bundleProvider = provider;
    services.FrameworkBundleIdentifier = "net.example.quendokit";
    const platform::ScopedInstall scope(services);
    EXPECT_EQ(provider->lookUpCount(), 0U);
    EXPECT_EQ(&Bundle::QuendoKit(), texts.get());
    EXPECT_EQ(&Bundle::QuendoKit(), texts.get());
    EXPECT_EQ(provider->lookUpCount(), 1U);
}

TEST(BundleQuendoKitDeathTest, WithoutThatBundleTheFirstUseIsFatal) {
    platform::Services services;
    services.FrameworkBundleIdentifier = "net.example.quendokit";
    {
        const platform::ScopedInstall scope(services);
        EXPECT_DEATH(static_cast<void>(words::hour()),
                     "Fatal error: no bundle has the identifier \"net.example.quendokit\"");
    }
    services.bundleProvider = std::make_shared<InMemoryBundleProvider>();
    const platform::ScopedInstall scope(services);
    EXPECT_DEATH(static_cast<void>(Bundle::QuendoKit()), "no bundle has the identifier \"net.example.quendokit\"");
}

}  // namespace
}  // namespace quendokit
