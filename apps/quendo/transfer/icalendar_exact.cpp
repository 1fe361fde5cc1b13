#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

#include <fmt/format.h>

#include "adapters/cctz/local_date_time.hpp"
#include "apps/quendo/transfer/icalendar_exact_internal.hpp"

namespace quendo::icalendar {
namespace {

constexpr double lastSecond = 253'402'300'799.0;  // 9999-12-31 23:59:59 UTC

bool isLetterOrDigit(char c) {
    return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9');
}

}  // namespace

std::string utcText(quendokit::Date date) {
    const double seconds = std::clamp(std::floor(date.timeIntervalSince1970()), 0.0, lastSecond);
    const auto reading = quendokit::fromWallSeconds(static_cast<std::int64_t>(seconds));
    return fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}Z", reading.year, reading.month, reading.day, reading.hour,
                       reading.minute, reading.second);
}

bool isSaidByUtcText(quendokit::Date date) {
    const double seconds = date.timeIntervalSince1970();
    return 0 <= seconds && seconds <= lastSecond && std::trunc(seconds) == seconds;
}

std::string exactText(quendokit::Date date) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), date.timeIntervalSince1970()).ptr;
    return {digits.data(), end};
}

std::optional<quendokit::Date> fromExactText(std::string_view text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return quendokit::Date(seconds);
}

std::string summaryOf(std::string_view title) {
    std::string summary(title);
    const auto isControl = [](char c) { return ('\0' <= c && c < ' ' && c != '\n' && c != '\t') || c == '\x7F'; };
    std::replace_if(summary.begin(), summary.end(), isControl, ' ');
    constexpr std::string_view blanks = " \t";
    const auto first = summary.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return {};
    }
    return summary.substr(first, summary.find_last_not_of(blanks) + 1 - first);
}

std::string percentEncoded(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        if (isLetterOrDigit(c)) {
            encoded += c;
        } else {
            encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return encoded;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    while (!text.empty()) {
        if (text.front() != '%') {
            decoded += text.front();
            text.remove_prefix(1);
            continue;
        }
        unsigned char byte = 0;
        const char* digits = text.data() + 1;
        if (text.size() < 3 || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
            return std::nullopt;
        }
        decoded += static_cast<char>(byte);
        text.remove_prefix(3);
    }
    return decoded;
}

}  // namespace quendo::icalendar
