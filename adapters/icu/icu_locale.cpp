#include "adapters/icu/icu_locale.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/ures.h>

#include "adapters/icu/environment_languages_internal.hpp"

namespace quendokit {
namespace {

constexpr std::size_t dayCount = 7;

/// The script that the part behind "@" in a POSIX locale's name means, as ICU writes it; "" for every other part.
std::string_view scriptOf(std::string_view modifier) {
    if (modifier == "latin") {
        return "_Latn";
    }
    if (modifier == "cyrillic") {
        return "_Cyrl";
    }
    return modifier == "devanagari" ? "_Deva" : "";
}

/// A language's name as ICU understands it, script and all: "sr_Latn_RS.UTF-8" for "sr_RS.UTF-8@latin".
std::string icuName(std::string_view language) {
    const std::size_t at = std::min(language.find('@'), language.size());
    const std::string_view name = language.substr(0, at);
    const std::string_view modifier = language.substr(std::min(at + 1, language.size()));
    const std::size_t end = std::min(name.find('_'), name.size());
    return std::string(name.substr(0, end)).append(scriptOf(modifier)).append(name.substr(end));
}

/// Whether ICU has data of that language. Asked for the words of another one, it would answer in a language that it
/// chooses by the environment itself.
bool isKnown(const icu::Locale& locale) {
    if (locale.isBogus()) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UResourceBundle, decltype(&ures_close)> data(ures_open(nullptr, locale.getName(), &status),
                                                                       ures_close);
    return U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING;
}

/// The seven names; none when ICU lacks some of them.
std::vector<std::string> weekdaysOf(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::DateFormatSymbols symbols(locale, status);
    if (U_FAILURE(status)) {
        return {};
    }
    std::int32_t count = 0;
    const icu::UnicodeString* names =
        symbols.getWeekdays(count, icu::DateFormatSymbols::STANDALONE, icu::DateFormatSymbols::WIDE);
    // Days are numbered from one, and nothing stands at zero.
    if (names == nullptr || count != std::int32_t{dayCount + 1}) {
        return {};
    }
    std::vector<std::string> weekdays;
    for (const icu::UnicodeString& name : std::span(names, dayCount + 1).subspan(1)) {
        if (name.isEmpty()) {
            return {};
        }
        name.toUTF8String(weekdays.emplace_back());
    }
    return weekdays;
}

/// None when the language or its names are unknown.
std::vector<std::string> weekdaysOf(const std::string& language) {
    const icu::Locale locale = icu::Locale::createCanonical(icuName(language).c_str());
    if (!isKnown(locale)) {
        return {};
    }
    auto weekdays = weekdaysOf(locale);
    // Of a language without names, ICU tells the abbreviations of no language: "Sun".
    return weekdays == weekdaysOf(icu::Locale::getRoot()) ? std::vector<std::string>() : weekdays;
}

/// Of the first language that has names.
std::vector<std::string> weekdaysOfFirst(const std::vector<std::string>& languages) {
    for (const std::string& language : languages) {
        if (auto weekdays = weekdaysOf(language); !weekdays.empty()) {
            return weekdays;
        }
    }
    return {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
}

}  // namespace

ICULocale::ICULocale() : languages_(environmentLanguages()) {}

ICULocale::ICULocale(std::string_view language) : languages_{std::string(language)} {}

std::vector<std::string> ICULocale::standaloneWeekdaySymbols() const {
    return weekdaysOfFirst(languages_);
}

}  // namespace quendokit
