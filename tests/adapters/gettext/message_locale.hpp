#pragma once
/// \file
/// `MessageLocale`, a process that speaks a language, for the life of a test.

#include <clocale>
#include <string>

#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {

/// Does what a host does at its start in an environment whose LANGUAGE is `language`, null for none: chooses the
/// process's locale. "C.UTF-8" is the one locale with languages that every system has. Puts the old state back.
class MessageLocale {
public:
    explicit MessageLocale(const char* language, const char* locale = "C.UTF-8")
        : before_(std::setlocale(LC_ALL, nullptr)), language_("LANGUAGE", language) {
        // What was looked up once is remembered until the locale changes.
        std::setlocale(LC_ALL, "C");
        chosen_ = std::setlocale(LC_ALL, locale) != nullptr;
    }
    MessageLocale(const MessageLocale&) = delete;
    MessageLocale& operator=(const MessageLocale&) = delete;
    ~MessageLocale() { std::setlocale(LC_ALL, before_.c_str()); }

    /// Whether the system has that locale.
    [[nodiscard]] bool isChosen() const noexcept { return chosen_; }

private:
    const std::string before_;
    const ScopedEnvironment language_;
    bool chosen_ = false;
};

}  // namespace quendokit::testing
