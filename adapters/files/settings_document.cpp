#include <algorithm>
#include <utility>

#include "adapters/files/property_json_internal.hpp"
#include "adapters/files/settings_document_internal.hpp"

namespace quendokit::files {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t\r\n";

/// Cuts the outermost object into keys and values. What is between its brackets, colons and commas is judged by the
/// JSON library afterwards, piece by piece.
class Splitter {
public:
    explicit Splitter(std::string_view text) : text_(text) {}

    [[nodiscard]] ParsedSettings split() {
        if (text_.size() > largestFile) {
            return damaged("it is larger than " + std::to_string(largestFile / 1'000'000) + " MB");
        }
        if (text_.starts_with(byteOrderMark)) {
            at_ = byteOrderMark.size();
        }
        skipBlanks();
        if (at_ == text_.size()) {
            return damaged("it is empty");
        }
        if (!take('{')) {
            return damaged("it is no JSON object");
        }
        skipBlanks();
        while (!take('}')) {
            if (!document_.empty() && !take(',')) {
                return noJson();
            }
            if (!splitMember()) {
                return damage_.empty() ? noJson() : damaged(damage_);
            }
        }
        skipBlanks();
        return at_ == text_.size() ? ParsedSettings{std::move(document_), {}} : noJson();
    }

private:
    static ParsedSettings damaged(std::string what) { return {{}, std::move(what)}; }
    [[nodiscard]] ParsedSettings noJson() const {
        return damaged(at_ >= text_.size() ? "it breaks off" : "byte " + std::to_string(at_ + 1) + " is no JSON");
    }

    /// One key, its colon and its value, and the blanks around them.
    bool splitMember() {
        skipBlanks();
        const std::size_t keyStart = at_;
        if (at_ == text_.size() || text_[at_] != '"' || !skipString()) {
            return false;
        }
        const auto key = keyOf(text_.substr(keyStart, at_ - keyStart));
        if (!key) {
            at_ = keyStart;
            return false;
        }
        skipBlanks();
        if (!take(':')) {
            return false;
        }
        skipBlanks();
        const std::size_t valueStart = at_;
        if (!skipValue()) {
            return false;
        }
        const std::string_view value = withoutBlanksBehind(text_.substr(valueStart, at_ - valueStart));
        if (!isJson(value)) {
            at_ = valueStart;
            return false;
        }
        if (!document_.emplace(*key, value).second) {
            damage_ = "the key " + *jsonOfKey(*key) + " stands in it twice";
            return false;
        }
        return true;
    }

    /// Goes to the comma or bracket behind a value. False when there is none.
    bool skipValue() {
        std::size_t depth = 1;
        while (at_ < text_.size()) {
            const char next = text_[at_];
            if (next == '"') {
                if (!skipString()) {
                    return false;
                }
                continue;
            }
            if (depth == 1 && (next == ',' || next == '}')) {
                return true;
            }
            if (next == '{' || next == '[') {
                if (++depth > deepestNesting) {
                    damage_ = "it is nested deeper than " + std::to_string(deepestNesting) + " levels";
                    return false;
                }
            } else if (next == '}' || next == ']') {
                if (--depth == 0) {
                    return false;
                }
            }
            ++at_;
        }
        return false;
    }

    /// Goes behind the string that begins here. False when it does not end.
    bool skipString() {
        for (++at_; at_ < text_.size(); ++at_) {
            if (text_[at_] == '\\') {
                ++at_;
            } else if (text_[at_] == '"') {
                ++at_;
                return true;
            }
        }
        return false;
    }

    void skipBlanks() { at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size()); }

    bool take(char expected) {
        const bool isThere = at_ < text_.size() && text_[at_] == expected;
        at_ += isThere ? 1 : 0;
        return isThere;
    }

    static std::string_view withoutBlanksBehind(std::string_view text) {
        return text.substr(0, text.find_last_not_of(blanks) + 1);
    }

    const std::string_view text_;
    std::size_t at_ = 0;
    SettingsDocument document_;
    std::string damage_;
};

}  // namespace

ParsedSettings parseSettings(std::string_view text) {
    return Splitter(text).split();
}

std::string renderSettings(const SettingsDocument& document) {
    std::string text = "{";
    for (const auto& [key, value] : document) {
        text += text.size() == 1 ? "\n    " : ",\n    ";
        text += *jsonOfKey(key) + ": " + value;
    }
    return text + (document.empty() ? "}\n" : "\n}\n");
}

}  // namespace quendokit::files
