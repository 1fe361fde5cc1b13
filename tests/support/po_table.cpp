#include "tests/support/po_table.hpp"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace quendokit::testing {
namespace {

/// What stands between the quotes that `text` consists of.
std::optional<std::string> unquoted(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return std::nullopt;
    }
    text = text.substr(1, text.size() - 2);
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            return std::nullopt;
        }
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        ++i;
        const char escaped = i < text.size() ? text[i] : ' ';
        if (escaped != 'n' && escaped != '"' && escaped != '\\') {
            return std::nullopt;
        }
        result += escaped == 'n' ? '\n' : escaped;
    }
    return result;
}

class Parser {
public:
    void line(const std::string& line) {
        ++number_;
        if (!understand(line)) {
            table_.unexpected.push_back(std::to_string(number_) + ": " + line);
        }
    }

    [[nodiscard]] PoTable finish() {
        endEntry();
        return std::move(table_);
    }

private:
    bool understand(std::string_view line) {
        if (line.empty()) {
            endEntry();
            return true;
        }
        if (line == "#" || line.starts_with("# ")) {
            return true;
        }
        if (line.starts_with("#. ")) {
            entry_.comments.emplace_back(line.substr(3));
            return open_ == nullptr;
        }
        if (line.starts_with("msgid ")) {
            return open(entry_.key, line.substr(6));
        }
        if (line.starts_with("msgstr ")) {
            return open_ == &entry_.key && open(entry_.translation, line.substr(7));
        }
        return append(line);
    }

    bool open(std::string& text, std::string_view quoted) {
        const bool fresh = open_ != &text && text.empty();
        open_ = &text;
        return append(quoted) && fresh;
    }

    bool append(std::string_view quoted) {
        const auto more = unquoted(quoted);
        if (more && open_ != nullptr) {
            *open_ += *more;
        }
        return more && open_ != nullptr;
    }

    void endEntry() {
        const bool complete = open_ == &entry_.translation;
        if (complete && entry_.key.empty()) {
            table_.header += entry_.translation;
        } else if (complete) {
            table_.entries.push_back(entry_);
        } else if (entry_ != PoEntry()) {
            table_.unexpected.push_back(std::to_string(number_) + ": no translation of " + entry_.key);
        }
        entry_ = {};
        open_ = nullptr;
    }

    PoTable table_;
    PoEntry entry_;
    /// The text that goes on in the next line; null before the first.
    std::string* open_ = nullptr;
    std::size_t number_ = 0;
};

}  // namespace

PoTable parsePoTable(const std::string& text) {
    Parser parser;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        parser.line(line);
    }
    return parser.finish();
}

PoTable readPoTable(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return {.header = "", .entries = {}, .unexpected = {file.string() + " cannot be read"}};
    }
    return parsePoTable(std::string(std::istreambuf_iterator<char>(stream), {}));
}

}  // namespace quendokit::testing
