#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/quendo/transfer/transfer_formats_internal.hpp"
#include "apps/quendo/transfer/transfer_json_entry_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

/// An iterator that leaves behind how far the parser has come, which it does not say itself.
class Cursor {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Cursor(const char* at, const char** furthest) : at_(at), furthest_(furthest) {}

    const char& operator*() const { return *at_; }
    Cursor& operator++() {
        *furthest_ = ++at_;
        return *this;
    }
    friend bool operator==(const Cursor& a, const Cursor& b) { return a.at_ == b.at_; }

private:
    const char* at_;
    const char** furthest_;
};

/// Hears the parser, puts one entry after the other together and forgets its document, so that memory holds the
/// entries alone. Answers false, which stops the parser, with `failure` set.
class EntryCollector final : public nlohmann::json_sax<nlohmann::json> {
public:
    EntryCollector(std::string_view text, const TransferReading& reading, const char*& furthest)
        : text_(text), reading_(reading), furthest_(furthest), steps_(reading.progress, text.size()) {}

    TransferDocument document;
    std::optional<Failure> failure;

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; }

    bool start_object(std::size_t /*size*/) override {
        if (isAtEntry()) {
            place_ = {document.entries.size() + 1, line()};
        }
        return open(nlohmann::json::object());
    }
    bool key(string_t& name) override {
        key_ = std::move(name);
        return true;
    }
    bool end_object() override {
        open_.pop_back();
        return !isAtEntry() || takeEntry();
    }

    bool start_array(std::size_t /*size*/) override {
        if (!isInList_) {
            isInList_ = true;
            return true;
        }
        return open(nlohmann::json::array());
    }
    bool end_array() override {
        if (open_.empty()) {
            isInList_ = false;
            return true;
        }
        open_.pop_back();
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override {
        if (position > text_.size()) {
            const auto last = std::max<std::size_t>(text_.find_last_not_of(" \t\r\n") + 1, 1);
            failure = cutOff(reading_, lineAt(last - 1));
            return false;
        }
        const std::size_t offset = position == 0 ? 0 : position - 1;
        const auto lineBreak = offset == 0 ? std::string_view::npos : text_.rfind('\n', offset - 1);
        const std::size_t column = lineBreak == std::string_view::npos ? offset + 1 : offset - lineBreak;
        return refuse(fmt::format("line {}, column {}", lineAt(offset), column),
                      "this is no JSON; mend it there, or export again");
    }

private:
    /// Members that nobody asked for may be nested, but not so deep that reading them could exhaust the program.
    static constexpr std::size_t deepest = 32;

    [[nodiscard]] bool isAtEntry() const { return isInList_ && open_.empty(); }

    [[nodiscard]] std::size_t lineAt(std::size_t offset) const {
        const auto end = text_.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text_.size()));
        return static_cast<std::size_t>(std::count(text_.begin(), end, '\n')) + 1;
    }

    /// The line that the parser has come to; counts on from where it was asked last.
    std::size_t line() {
        line_ += static_cast<std::size_t>(std::count(counted_, furthest_, '\n'));
        counted_ = furthest_;
        return line_;
    }

    bool refuse(std::string_view place, std::string_view problem) {
        failure = refusalOf(reading_, place, problem);
        return false;
    }

    bool refuseOutsider(const nlohmann::json& value) {
        if (!isInList_) {
            return refuse(fmt::format("line {}", line()),
                          "this is no list of reminders; put them between [ and ], with commas between them");
        }
        return refuse(placeText({document.entries.size() + 1, line()}),
                      typeText(value) + " is no reminder; write {\"title\": …, \"condition\": …}");
    }

    nlohmann::json* put(nlohmann::json value) {
        nlohmann::json& parent = *open_.back();
        if (parent.is_array()) {
            parent.push_back(std::move(value));
            return &parent.back();
        }
        return &(parent[key_] = std::move(value));
    }

    bool add(nlohmann::json value) {
        if (open_.empty()) {
            return refuseOutsider(value);
        }
        put(std::move(value));
        return true;
    }

    bool open(nlohmann::json value) {
        if (!isInList_ || (open_.empty() && !value.is_object())) {
            return refuseOutsider(value);
        }
        if (open_.size() == deepest) {
            return refuse(placeText(place_),
                          fmt::format("its members are nested more than {} deep; remove them", deepest));
        }
        if (open_.empty()) {
            entry_ = std::move(value);
            open_.push_back(&entry_);
        } else {
            open_.push_back(put(std::move(value)));
        }
        return true;
    }

    bool takeEntry() {
        std::string problem;
        auto entry = readJsonEntry(entry_, reading_.zone, problem);
        if (!entry) {
            return refuse(placeText(place_), problem);
        }
        entry->place = place_;
        if (const auto twice = identifiers_.add(*entry)) {
            return refuse(placeText(place_), *twice);
        }
        document.entries.push_back(*std::move(entry));
        steps_.done(static_cast<std::size_t>(furthest_ - text_.data()));
        return true;
    }

    std::string_view text_;
    const TransferReading& reading_;
    const char*& furthest_;
    TransferSteps steps_;
    TransferIdentifiers identifiers_;

    bool isInList_ = false;
    nlohmann::json entry_;
    TransferPlace place_;
    /// The objects and lists of the entry that have not ended, the entry itself first.
    std::vector<nlohmann::json*> open_;
    std::string key_;

    const char* counted_ = text_.data();
    std::size_t line_ = 1;
};

}  // namespace

Outcome<TransferDocument> readJson(std::string_view text, const TransferReading& reading) {
    const char* const begin = std::to_address(text.begin());
    const char* const end = std::to_address(text.end());
    const char* furthest = begin;
    EntryCollector collector(text, reading, furthest);
    nlohmann::json::sax_parse(Cursor(begin, &furthest), Cursor(end, &furthest), &collector);
    if (collector.failure) {
        return *std::move(collector.failure);
    }
    TransferSteps(reading.progress, text.size()).finish();
    return std::move(collector.document);
}

}  // namespace quendo
