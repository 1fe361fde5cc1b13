#include "apps/quendo/locale_folder.hpp"

#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

namespace quendo {
namespace {

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// The first of the variables that names a locale, in the order in which the C library asks them.
std::string wantedLocale() {
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (isSet(variable)) {
            return std::getenv(variable);
        }
    }
    return "C";
}

bool isNoLanguage(std::string_view locale) {
    return locale == "C" || locale == "POSIX" || locale.starts_with("C.");
}

}  // namespace

std::filesystem::path findLocaleFolder() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& folder : {program / QUENDO_INSTALLED_LOCALES, program / QUENDO_BUILT_LOCALES}) {
        if (std::filesystem::is_regular_file(folder / "de" / "LC_MESSAGES" / "quendokit.mo", error)) {
            return folder.lexically_normal();
        }
    }
    return {};
}

void takeLocale() {
    if (std::setlocale(LC_CTYPE, "") == nullptr) {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    if (std::setlocale(LC_MESSAGES, "") != nullptr) {
        return;
    }
    // The texts need only a locale that is not "C", and the language in LANGUAGE.
    const std::string wanted = wantedLocale();
    if (!isNoLanguage(wanted) && std::setlocale(LC_MESSAGES, "C.UTF-8") != nullptr && !isSet("LANGUAGE")) {
        setenv("LANGUAGE", wanted.substr(0, wanted.find('.')).c_str(), 1);
    }
}

}  // namespace quendo
