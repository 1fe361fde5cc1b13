#include <algorithm>
#include <ctime>
#include <map>
#include <mutex>
#include <string_view>
#include <vector>

#include "adapters/cctz/offset_table_internal.hpp"

namespace quendokit {
namespace {

constexpr std::int64_t day = 86'400;
/// The calendar, weekdays included, repeats after 400 years, and so does a rule that is told in its terms.
constexpr std::int64_t cycle = 146'097 * day;

int cLibraryOffset(std::int64_t moment) {
    const auto time = static_cast<std::time_t>(moment);
    std::tm fields{};
    ::localtime_r(&time, &fields);
    return static_cast<int>(fields.tm_gmtoff);
}

/// How far to move `seconds` back to bring it into the cycle from 1970 on.
std::int64_t cyclesBefore(std::int64_t seconds) {
    const std::int64_t remainder = seconds % cycle;
    return seconds - (remainder < 0 ? remainder + cycle : remainder);
}

/// The first moment after `before` whose offset is not that of `before`, known to differ at `after`.
std::int64_t changeBetween(std::int64_t before, std::int64_t after) {
    const int offset = cLibraryOffset(before);
    while (after - before > 1) {
        const std::int64_t middle = before + (after - before) / 2;
        (cLibraryOffset(middle) == offset ? before : after) = middle;
    }
    return after;
}

/// One cycle of the rule that TZ holds, and the margins within which its readings are looked for.
OffsetTable writtenDown() {
    constexpr std::int64_t begin = -OffsetTable::margin;
    constexpr std::int64_t end = cycle + OffsetTable::margin;
    std::vector<OffsetTable::Span> spans{{begin, cLibraryOffset(begin)}};
    for (std::int64_t moment = begin + day; moment < end; moment += day) {
        if (cLibraryOffset(moment) != spans.back().offset) {
            const std::int64_t change = changeBetween(moment - day, moment);
            spans.push_back({change, cLibraryOffset(change)});
        }
    }
    return {std::move(spans), end};
}

/// One cycle of a rule, written down while TZ holds it: the C library knows only the rule of the moment, and only the
/// way from moments to readings.
class PosixRules final : public TimeZoneRules {
public:
    [[nodiscard]] int offset(std::int64_t moment) const override {
        return table_.offset(moment - cyclesBefore(moment));
    }

    [[nodiscard]] Located locate(std::int64_t reading) const override {
        const std::int64_t shift = cyclesBefore(reading);
        const auto [kind, first, second] = table_.locate(reading - shift);
        return {kind, first + shift, second + shift};
    }

    [[nodiscard]] std::optional<std::int64_t> nextChange(std::int64_t moment) const override {
        std::int64_t shift = cyclesBefore(moment);
        auto change = table_.nextChange(moment - shift);
        if (!change) {
            shift += cycle;
            change = table_.nextChange(0);
        }
        return change ? std::optional(*change + shift) : std::nullopt;
    }

private:
    const OffsetTable table_ = writtenDown();
};

bool isLetter(char c) {
    return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z');
}
bool isDigit(char c) {
    return '0' <= c && c <= '9';
}

}  // namespace

bool isPosixRule(const std::string& value) {
    std::string_view rest = value;
    if (rest.starts_with('<')) {
        const auto end = rest.find('>');
        if (end == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(end + 1);
    } else {
        const auto end = std::find_if_not(rest.begin(), rest.end(), isLetter);
        if (end - rest.begin() < 3) {
            return false;
        }
        rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
    }
    if (rest.starts_with('+') || rest.starts_with('-')) {
        rest.remove_prefix(1);
    }
    return !rest.empty() && isDigit(rest.front());
}

std::shared_ptr<const TimeZoneRules> makePosixRules(const std::string& value) {
    // Writing a rule down takes milliseconds, and a program asks for the same one again and again.
    static std::mutex mutex;
    static std::map<std::string, std::shared_ptr<const TimeZoneRules>> rulesByValue;
    const std::lock_guard lock(mutex);
    auto& rules = rulesByValue[value];
    if (!rules) {
        ::tzset();
        rules = std::make_shared<const PosixRules>();
    }
    return rules;
}

}  // namespace quendokit
