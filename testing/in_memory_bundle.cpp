#include "testing/in_memory_bundle.hpp"

#include <utility>

namespace quendokit::testing {

InMemoryBundle::InMemoryBundle(Translations translations) : translations_(std::move(translations)) {}

std::string InMemoryBundle::localizedString(std::string_view key, std::string_view comment) const {
    {
        const std::lock_guard lock(mutex_);
        comments_[std::string(key)].emplace_back(comment);
    }
    const auto found = translations_.find(key);
    const bool translated = !key.empty() && found != translations_.end() && !found->second.empty();
    return translated ? found->second : std::string(key);
}

std::size_t InMemoryBundle::lookUpCount(std::string_view key) const {
    return comments(key).size();
}

std::vector<std::string> InMemoryBundle::comments(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const auto found = comments_.find(key);
    return found == comments_.end() ? std::vector<std::string>() : found->second;
}

InMemoryBundleProvider::InMemoryBundleProvider(Bundles bundles) : bundles_(std::move(bundles)) {}

std::shared_ptr<const Bundle> InMemoryBundleProvider::bundle(std::string_view identifier) const {
    ++lookUpCount_;
    const auto found = bundles_.find(identifier);
    return found == bundles_.end() ? nullptr : found->second;
}

}  // namespace quendokit::testing
