#pragma once
/// \file
/// `Bundle`, a collection of texts in the person's language.

#include <memory>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The texts of one product. Any thread.
class QUENDOKIT_EXPORT Bundle {
public:
    Bundle() = default;
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;
    virtual ~Bundle() = default;

    /// The engine's own texts, found by the identifier of the installed services and kept for the rest of the process.
    /// Fatal if no bundle has it: the engine cannot run without its texts.
    [[nodiscard]] static const Bundle& QuendoKit();

    /// The translation of `key`, which is the English text; `key` itself when there is none, "" for "". `comment` is
    /// what translators were told; it never chooses between two translations.
    [[nodiscard]] virtual std::string localizedString(std::string_view key, std::string_view comment) const = 0;
};

/// Where bundles are found. Any thread.
class QUENDOKIT_EXPORT BundleProvider {
public:
    BundleProvider() = default;
    BundleProvider(const BundleProvider&) = delete;
    BundleProvider& operator=(const BundleProvider&) = delete;
    virtual ~BundleProvider() = default;

    /// Null when no bundle has this identifier.
    [[nodiscard]] virtual std::shared_ptr<const Bundle> bundle(std::string_view identifier) const = 0;
};

}  // namespace quendokit
