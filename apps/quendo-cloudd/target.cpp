#include "apps/quendo-cloudd/target.hpp"

#include <algorithm>
#include <utility>

#include "apps/quendo/escaped_text.hpp"

namespace cloudd {
namespace {

std::optional<unsigned> hexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned>(character - '0');
    }
    const char lower = static_cast<char>(character | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a' + 10);
    }
    return std::nullopt;
}

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

std::optional<std::string> decoded(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        if (i + 2 >= text.size()) {
            return std::nullopt;
        }
        const auto high = hexDigit(text[i + 1]);
        const auto low = hexDigit(text[i + 2]);
        if (!high || !low) {
            return std::nullopt;
        }
        result += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    if (!quendo::isPlainText(result) || std::any_of(result.begin(), result.end(), isControl)) {
        return std::nullopt;
    }
    return result;
}

/// Calls `visit` with each part of `text` between separators until it answers false; answers whether it never did.
template <typename Visit>
bool split(std::string_view text, char separator, const Visit& visit) {
    while (true) {
        const std::size_t end = text.find(separator);
        if (!visit(text.substr(0, end))) {
            return false;
        }
        if (end == std::string_view::npos) {
            return true;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace

std::optional<Target> parseTarget(std::string_view text) {
    const auto isPlain = [](char character) { return character > ' ' && character < 0x7F; };
    if (!text.starts_with('/') || !std::all_of(text.begin(), text.end(), isPlain)) {
        return std::nullopt;
    }
    const std::size_t question = text.find('?');
    const std::string_view path = text.substr(1, question == std::string_view::npos ? question : question - 1);
    Target target;
    const bool goodPath = split(path, '/', [&](std::string_view part) {
        auto segment = decoded(part);
        if (!segment || segment->empty() || *segment == "." || *segment == ".." ||
            segment->find('/') != std::string::npos) {
            return false;
        }
        target.path.push_back(*std::move(segment));
        return true;
    });
    if (!goodPath) {
        return std::nullopt;
    }
    if (question == std::string_view::npos) {
        return target;
    }
    const bool goodQuery = split(text.substr(question + 1), '&', [&](std::string_view part) {
        const std::size_t equals = part.find('=');
        auto name = decoded(part.substr(0, equals));
        auto value = decoded(equals == std::string_view::npos ? std::string_view() : part.substr(equals + 1));
        if (!name || !value) {
            return false;
        }
        target.query.emplace(*std::move(name), *std::move(value));
        return true;
    });
    return goodQuery ? std::optional(std::move(target)) : std::nullopt;
}

std::string redactedTarget(std::string_view text) {
    const std::size_t question = text.find('?');
    std::string path = quendo::escapedText(text.substr(0, question), 200);
    return question == std::string_view::npos ? path : path + "?…";
}

}  // namespace cloudd
