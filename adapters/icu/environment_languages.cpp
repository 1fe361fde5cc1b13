#include <cstdlib>
#include <sstream>

#include "adapters/icu/environment_languages_internal.hpp"

namespace quendokit {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// The locale of messages: the first variable that is not empty.
std::string messagesLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (std::string locale = variable(name); !locale.empty()) {
            return locale;
        }
    }
    return "C";
}

bool isUntranslated(const std::string& locale) {
    return locale == "C" || locale == "POSIX";
}

}  // namespace

std::vector<std::string> environmentLanguages() {
    const std::string locale = messagesLocale();
    if (isUntranslated(locale)) {
        return {};
    }
    const std::string wanted = variable("LANGUAGE");
    if (wanted.empty()) {
        return {locale};
    }
    std::vector<std::string> languages;
    std::istringstream list(wanted);
    // What stands behind "C" is never reached: without a translation, the texts are as they were written.
    for (std::string language; std::getline(list, language, ':') && !isUntranslated(language);) {
        languages.push_back(language);
    }
    return languages;
}

}  // namespace quendokit
