#include <algorithm>
#include <ctime>
#include <mutex>
#include <string_view>
#include <vector>

#include "adapters/cctz/time_zone_rules_internal.hpp"

namespace quendokit {
namespace {

constexpr std::int64_t day = 86'400;
/// The calendar, weekdays included, repeats after 400 years, and so does a rule that is told in its terms.
constexpr std::int64_t cycle = 146'097 * day;
/// More than any offset, which is below 25 hours, so that no search runs off the table.
constexpr std::int64_t margin = 2 * day;

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

/// One cycle of a rule, written down while TZ holds it: the C library knows only the rule of the moment, and only the
/// way from moments to readings.
class PosixRules final : public TimeZoneRules {
public:
    PosixRules() {
        spans_.push_back({-margin, cLibraryOffset(-margin)});
        for (std::int64_t moment = -margin + day; moment < cycle + margin; moment += day) {
            if (cLibraryOffset(moment) != spans_.back().offset) {
                const std::int64_t change = changeBetween(moment - day, moment);
                spans_.push_back({change, cLibraryOffset(change)});
            }
        }
        const auto [least, greatest] =
            std::minmax_element(spans_.begin(), spans_.end(), [](Span a, Span b) { return a.offset < b.offset; });
        leastOffset_ = least->offset;
        greatestOffset_ = greatest->offset;
    }

    [[nodiscard]] int offset(std::int64_t moment) const override {
        return spanAt(moment - cyclesBefore(moment))->offset;
    }

    [[nodiscard]] Located locate(std::int64_t reading) const override {
        const std::int64_t shift = cyclesBefore(reading);
        const std::int64_t wall = reading - shift;
        auto span = spanAt(wall - greatestOffset_);
        // The first moment at which the clocks show the reading, or have already passed it.
        std::int64_t first = std::max(span->start, wall - span->offset);
        while (first >= endOf(span)) {
            ++span;
            first = std::max(span->start, wall - span->offset);
        }
        if (first + span->offset != wall) {
            return {LocalTimeKind::skipped, first + shift, first + shift};
        }
        for (++span; span != spans_.end() && span->start <= wall - leastOffset_; ++span) {
            const std::int64_t again = wall - span->offset;
            if (span->start <= again && again < endOf(span)) {
                return {LocalTimeKind::repeated, first + shift, again + shift};
            }
        }
        return {LocalTimeKind::unique, first + shift, first + shift};
    }

private:
    struct Span {
        std::int64_t start;
        int offset;
    };
    using Iterator = std::vector<Span>::const_iterator;

    /// The first moment after `before` whose offset is not that of `before`, known to differ at `after`.
    static std::int64_t changeBetween(std::int64_t before, std::int64_t after) {
        const int offset = cLibraryOffset(before);
        while (after - before > 1) {
            const std::int64_t middle = before + (after - before) / 2;
            (cLibraryOffset(middle) == offset ? before : after) = middle;
        }
        return after;
    }

    [[nodiscard]] Iterator spanAt(std::int64_t moment) const {
        const auto next = std::upper_bound(spans_.begin(), spans_.end(), moment,
                                           [](std::int64_t value, Span span) { return value < span.start; });
        return next - 1;
    }

    [[nodiscard]] std::int64_t endOf(Iterator span) const {
        return span + 1 == spans_.end() ? cycle + margin : (span + 1)->start;
    }

    std::vector<Span> spans_;
    int leastOffset_ = 0;
    int greatestOffset_ = 0;
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
    static std::string latestValue;
    static std::shared_ptr<const TimeZoneRules> latest;
    const std::lock_guard lock(mutex);
    if (!latest || latestValue != value) {
        ::tzset();
        latest = std::make_shared<const PosixRules>();
        latestValue = value;
    }
    return latest;
}

}  // namespace quendokit
