#pragma once
/// \file
/// `ICULocale`, the words of the person's language as ICU knows them.

#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/locale.hpp"

namespace quendokit {

/// A language, chosen when the object is made. Speaks English where ICU does not know it.
///
/// Immutable. Members: any thread. Making one without a language reads the environment: any thread, as long as no other
/// thread changes the environment meanwhile.
class QUENDOKIT_EXPORT ICULocale final : public Locale {
public:
    /// The person's language by the environment, as texts from message catalogues choose it: LC_ALL, LC_MESSAGES and
    /// LANG name the locale, the first that is not empty. "C", "POSIX" or none at all is English. Otherwise LANGUAGE,
    /// unless empty, lists languages, the most wanted first, and replaces that locale: of "xx:de:fr", German. The
    /// locale need not be installed in the system.
    ICULocale();

    /// `language` as "de", "pt_BR", "pt-BR", "zh_TW.UTF-8" or "sr@latin".
    explicit ICULocale(std::string_view language);

    /// In UTF-8: "Sonntag", "Montag" and so on. Looked up by each call: the first one reads ICU's data, which takes
    /// milliseconds that a program without use for the names is spared.
    [[nodiscard]] std::vector<std::string> standaloneWeekdaySymbols() const override;

private:
    const std::vector<std::string> languages_;
};

}  // namespace quendokit
