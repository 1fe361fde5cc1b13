#pragma once
/// \file
/// `OffsetTable`, the changes of a zone's clocks in a form that is read in a few nanoseconds.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "adapters/cctz/time_zone_rules_internal.hpp"

namespace quendokit {

/// The offsets of a zone from one moment to another. Moments and readings are as in `TimeZoneRules`. Immutable; any
/// thread.
class OffsetTable {
public:
    /// From `start` on the clocks are `offset` seconds ahead of UTC, until the next span starts.
    struct Span {
        std::int64_t start;
        int offset;
    };

    /// More than any offset, which is below 25 hours: a reading that lies this far inside the table has its moments
    /// in it.
    static constexpr std::int64_t margin = std::int64_t{2} * 86'400;

    /// `spans` ascends, is not empty and shorter than 65,000; the table reaches from its first start until before
    /// `end`.
    OffsetTable(std::vector<Span> spans, std::int64_t end);

    [[nodiscard]] std::int64_t begin() const noexcept { return spans_.front().start; }
    [[nodiscard]] std::int64_t end() const noexcept { return spans_.back().start; }

    /// `moment` is in the table.
    [[nodiscard]] int offset(std::int64_t moment) const noexcept { return spans_[indexAt(moment)].offset; }

    /// The first moment at which the clocks show `reading`, or have already passed it. `reading` is `margin` inside.
    [[nodiscard]] std::int64_t firstMoment(std::int64_t reading) const noexcept { return find(reading).first; }

    /// `reading` is `margin` inside.
    [[nodiscard]] TimeZoneRules::Located locate(std::int64_t reading) const noexcept;

    /// The first change after `moment`, which is in the table; absent when the table ends before it.
    [[nodiscard]] std::optional<std::int64_t> nextChange(std::int64_t moment) const noexcept;

private:
    /// 24 days: clocks are rarely changed twice in that time, and an index over two centuries takes 6 KB.
    static constexpr int bucketBits = 21;

    struct Found {
        std::int64_t first;
        /// Of the span that holds `first`.
        std::size_t index;
    };

    [[nodiscard]] std::size_t indexAt(std::int64_t moment) const noexcept {
        std::size_t index = buckets_[static_cast<std::size_t>((moment - begin()) >> bucketBits)];
        while (spans_[index + 1].start <= moment) {
            ++index;
        }
        return index;
    }

    [[nodiscard]] Found find(std::int64_t reading) const noexcept {
        // Before that moment no clock of the table has come as far as the reading.
        std::size_t index = indexAt(reading - greatestOffset_);
        while (true) {
            const std::int64_t first = std::max(spans_[index].start, reading - spans_[index].offset);
            if (first < spans_[index + 1].start) {
                return {first, index};
            }
            ++index;
        }
    }

    /// Ends with one that only says where the table ends.
    std::vector<Span> spans_;
    /// Which span each bucket of the table's time begins in.
    std::vector<std::uint16_t> buckets_;
    int leastOffset_;
    int greatestOffset_;
};

}  // namespace quendokit
