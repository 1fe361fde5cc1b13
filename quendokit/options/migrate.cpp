#include "quendokit/options/migrate.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

#include "quendokit/platform/services.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {
namespace {

struct SemVer {
    std::int64_t major = 0;
    std::int64_t minor = 0;
    std::int64_t patch = 0;

    friend bool operator==(const SemVer&, const SemVer&) = default;
};

/// A decimal number with or without a sign, and nothing else; 0 for anything else.
std::int64_t parsePiece(std::string_view piece) {
    // `from_chars` takes a minus sign only.
    const bool plus = piece.size() > 1 && piece.front() == '+' && piece[1] != '-';
    const std::string_view digits = piece.substr(plus ? 1 : 0);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() ? number : 0;
}

/// Reads any text: a missing piece is 0.
SemVer CreateSemVer(std::string_view from) {
    std::array<std::int64_t, 3> numbers{};
    for (std::int64_t& number : numbers) {
        const std::size_t dot = std::min(from.find('.'), from.size());
        number = parsePiece(from.substr(0, dot));
        if (dot == from.size()) {
            break;
        }
        from.remove_prefix(dot + 1);
    }
    return {numbers[0], numbers[1], numbers[2]};
}

std::optional<std::string> lastRunVersion(const UserDefaults& defaults, std::string_view key) {
    auto value = defaults.object(key);
    auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text != nullptr ? std::optional(std::move(*text)) : std::nullopt;
}

}  // namespace

void Migrate(const std::string& toVersion, UserDefaults& accordingToDefaults, const VersionMigration& migration) {
    // Stored format.
    const std::string key = platform::services().organisationPrefix + ".quendokit.last-run-version";
    LineSink& output = platform::standardOutput();
    if (const auto before = lastRunVersion(accordingToDefaults, key)) {
        const SemVer old = CreateSemVer(*before);
        if (CreateSemVer(toVersion) == old) {
            output.writeLine("💻 Same version (" + toVersion + ") – no migration necessary");
        } else {
            output.writeLine("💻 Executing migration");
            migration(old.major, old.minor, old.patch);
        }
    } else {
        output.writeLine("💻 No previous version – no migration");
    }
    output.writeLine("💻 Saving the latest version info: " + toVersion);
    accordingToDefaults.set(key, toVersion);
}

}  // namespace quendokit
