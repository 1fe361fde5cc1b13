#pragma once
/// \file
/// `Locale`, the words of the person's language that a platform knows by itself.

#include <string>
#include <vector>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The person's language. Any thread.
class QUENDOKIT_EXPORT Locale {
public:
    Locale() = default;
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;
    virtual ~Locale() = default;

    /// The installed locale.
    [[nodiscard]] static const Locale& current();

    /// The full names of the seven days as they stand alone and not in a sentence, Sunday first: "Sunday", "Monday" and
    /// so on to "Saturday".
    [[nodiscard]] virtual std::vector<std::string> standaloneWeekdaySymbols() const = 0;
};

}  // namespace quendokit
