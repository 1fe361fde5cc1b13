#include "apps/quendo/cloud/token_file.hpp"

#include <fstream>
#include <iostream>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

constexpr std::size_t largest = 65'536;

/// Absent when it cannot be read or is larger than any such file.
std::optional<std::string> contentOf(std::istream& stream) {
    std::string text(largest, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (stream.bad() || !stream.eof()) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

}  // namespace

Outcome<CloudTokens> readTokenFile(const std::string& file) {
    const std::string name = file == "-" ? "standard input" : escapedText(file, 200);
    std::optional<std::string> text;
    if (file == "-") {
        text = contentOf(std::cin);
    } else {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            return Failure{ExitCode::usage, name + " cannot be read; name the file with the tokens"};
        }
        text = contentOf(stream);
    }
    // Without exceptions, and without a word of what stands in it.
    const auto document = nlohmann::json::parse(text.value_or(""), nullptr, false);
    const auto member = [&](const char* key) {
        const auto found = document.is_object() ? document.find(key) : document.end();
        const bool isText = document.is_object() && found != document.end() && found->is_string();
        return isText ? found->get<std::string>() : std::string();
    };
    CloudTokens tokens{member("api-token"), member("web-token")};
    if (tokens.apiToken.empty() || tokens.webToken.empty()) {
        return Failure{ExitCode::usage, name +
                                            " holds no tokens; it has to be a JSON object with \"api-token\" and "
                                            "\"web-token\", as quendo-cloudd user add --json prints it"};
    }
    return tokens;
}

}  // namespace quendo
