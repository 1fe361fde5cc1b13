#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "apps/quendo/transfer/icalendar_lines_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo::icalendar {
namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/// Takes the first line, without its break, away from `text`, which is not empty.
std::string_view takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

bool isContinuation(std::string_view text) {
    return text.starts_with(' ') || text.starts_with('\t');
}

/// The component that a line begins or ends, as "BEGIN:" or "END:" says; absent for other lines.
std::optional<std::string> componentName(std::string_view line, std::string_view keyword) {
    if (line.size() < keyword.size() || upperCase(line.substr(0, keyword.size())) != keyword) {
        return std::nullopt;
    }
    return upperCase(trimmed(line.substr(keyword.size())));
}

/// Follows the lines of a text from component to component.
class OutlineReader {
public:
    OutlineReader(std::string_view text, const TransferReading& reading)
        : text_(text), rest_(text), reading_(reading) {}

    Outcome<Outline> read() {
        while (!rest_.empty()) {
            lineStart_ = rest_;
            ++line_;
            takeStep(takeLine(rest_));
            if (failure_) {
                return *std::move(failure_);
            }
        }
        return open_.empty() ? Outcome<Outline>(std::move(outline_)) : Outcome<Outline>(cutOff(reading_, line_));
    }

private:
    void takeStep(std::string_view line) {
        if (line.find('\0') != std::string_view::npos) {
            return refuse("the line holds a NUL character; remove it, or export again");
        }
        if (const auto name = componentName(line, "BEGIN:")) {
            return begin(*name);
        }
        if (const auto name = componentName(line, "END:")) {
            return end(*name);
        }
        if (open_.empty() && !trimmed(line).empty()) {
            return refuse("the line stands outside the calendar; put it before END:VCALENDAR, or remove it");
        }
        // Its successor has the same look, but other rules for times and characters.
        if (open_.size() == 1 && upperCase(trimmed(line)) == "VERSION:1.0") {
            return refuse("this is a calendar of the old version 1.0; export it as iCalendar 2.0");
        }
    }

    void begin(const std::string& name) {
        if (open_.empty() && name != "VCALENDAR") {
            return refuseName("BEGIN:" + name, "BEGIN:VCALENDAR");
        }
        if (open_.size() == 1) {
            start_ = lineStart_;
            startLine_ = line_;
        }
        open_.push_back(name);
    }

    void end(const std::string& name) {
        if (open_.empty()) {
            return refuse(quotedText("END:" + name) + " has no BEGIN; remove it, or export again");
        }
        if (name != open_.back()) {
            return refuseName("END:" + name, "END:" + open_.back());
        }
        open_.pop_back();
        if (open_.size() == 1) {
            keep(name);
        }
    }

    void keep(const std::string& name) {
        const ComponentSpan span{start_.substr(0, start_.size() - rest_.size()), startLine_};
        if (name == "VTODO") {
            outline_.todos.push_back(span);
        } else if (name == "VTIMEZONE") {
            outline_.zones.push_back(span);
        } else {
            ++outline_.others;
        }
    }

    void refuse(const std::string& problem) { failure_ = refusalOf(reading_, fmt::format("line {}", line_), problem); }

    void refuseName(const std::string& found, const std::string& expected) {
        const bool isCut = rest_.empty() && !text_.ends_with('\n') && expected.starts_with(found);
        if (isCut) {
            failure_ = cutOff(reading_, line_);
        } else {
            refuse(fmt::format("{} stands where {} should; mend it, or export again", quotedText(found),
                               quotedText(expected)));
        }
    }

    const std::string_view text_;
    std::string_view rest_;
    const TransferReading& reading_;
    std::size_t line_ = 0;
    std::string_view lineStart_;

    /// The components that have not ended, the calendar first.
    std::vector<std::string> open_;
    std::string_view start_;
    std::size_t startLine_ = 0;
    Outline outline_;
    std::optional<Failure> failure_;
};

}  // namespace

std::string ContentLine::name() const {
    return upperCase(std::string_view(text).substr(0, text.find_first_of(";:")));
}

std::string_view ContentLine::value() const {
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            isQuoted = !isQuoted;
        }
        if (text[i] == ':' && !isQuoted) {
            return trimmed(std::string_view(text).substr(i + 1));
        }
    }
    return {};
}

bool ContentLines::next(ContentLine& line) {
    while (!rest_.empty()) {
        line.number = number_;
        line.text = takeLine(rest_);
        ++number_;
        while (isContinuation(rest_)) {
            line.text += takeLine(rest_).substr(1);
            ++number_;
        }
        if (!trimmed(line.text).empty()) {
            return true;
        }
    }
    return false;
}

Outcome<Outline> outlineOf(std::string_view text, const TransferReading& reading) {
    return OutlineReader(text, reading).read();
}

std::string upperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

}  // namespace quendo::icalendar
