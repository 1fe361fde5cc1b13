#pragma once
/// \file
/// `GettextBundleProvider`: the engine's texts from message catalogues.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Finds one bundle, whose texts come from catalogues of the text domain "quendokit".
///
/// The language is the one of the process's message locale, which the host chooses by `setlocale(LC_ALL, "")` before it
/// asks for a text; this library never does. While that locale is "C", as in a program that has not chosen one or
/// whose person wants one that the system lacks, every text is English. In any other, even "C.UTF-8", the environment's
/// LANGUAGE goes before it. Texts are UTF-8 whatever the locale's encoding.
///
/// Any thread, as long as no other thread changes the environment meanwhile.
class QUENDOKIT_EXPORT GettextBundleProvider final : public BundleProvider {
public:
    /// The catalogue of a language is `localeFolder`/LANGUAGE/LC_MESSAGES/quendokit.mo; as long as there is none, its
    /// texts are English. A relative folder is meant from where the process is now; in an empty one there are no
    /// catalogues. The folder belongs to the text domain and so to the whole process: with several providers, that of
    /// the last one holds for all.
    GettextBundleProvider(std::string identifier, const std::filesystem::path& localeFolder);

    /// Null for every identifier but the one given.
    [[nodiscard]] std::shared_ptr<const Bundle> bundle(std::string_view identifier) const override;

private:
    const std::string identifier_;
    const std::shared_ptr<const Bundle> bundle_;
};

}  // namespace quendokit
