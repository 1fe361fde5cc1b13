#pragma once
/// \file
/// `InMemoryBundle` and `InMemoryBundleProvider`: texts from a table that a test wrote, and who asked for them.

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

/// Translates by a table and remembers every look-up. Any thread.
class QUENDOKIT_EXPORT InMemoryBundle final : public Bundle {
public:
    using Translations = std::map<std::string, std::string, std::less<>>;

    /// Keys that `translations` lacks, or for which it holds "", are untranslated.
    explicit InMemoryBundle(Translations translations = {});

    [[nodiscard]] std::string localizedString(std::string_view key, std::string_view comment) const override;

    /// How often `key` was looked up.
    [[nodiscard]] std::size_t lookUpCount(std::string_view key) const;
    /// The comments with which `key` was looked up, in that order.
    [[nodiscard]] std::vector<std::string> comments(std::string_view key) const;

private:
    const Translations translations_;
    mutable std::mutex mutex_;
    mutable std::map<std::string, std::vector<std::string>, std::less<>> comments_;
};

/// Finds bundles in a table. Any thread.
class QUENDOKIT_EXPORT InMemoryBundleProvider final : public BundleProvider {
public:
    using Bundles = std::map<std::string, std::shared_ptr<const Bundle>, std::less<>>;

    /// The bundles by their identifiers; every other identifier is unknown.
    explicit InMemoryBundleProvider(Bundles bundles = {});

    [[nodiscard]] std::shared_ptr<const Bundle> bundle(std::string_view identifier) const override;

    /// How often a bundle was asked for, whichever it was.
    [[nodiscard]] std::size_t lookUpCount() const { return lookUpCount_.load(); }

private:
    const Bundles bundles_;
    mutable std::atomic<std::size_t> lookUpCount_ = 0;
};

}  // namespace quendokit::testing
