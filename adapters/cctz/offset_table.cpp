#include <utility>

#include "adapters/cctz/offset_table_internal.hpp"

namespace quendokit {
namespace {

bool hasLessOffset(OffsetTable::Span a, OffsetTable::Span b) {
    return a.offset < b.offset;
}

}  // namespace

OffsetTable::OffsetTable(std::vector<Span> spans, std::int64_t end)
    : spans_(std::move(spans)),
      leastOffset_(std::min_element(spans_.begin(), spans_.end(), hasLessOffset)->offset),
      greatestOffset_(std::max_element(spans_.begin(), spans_.end(), hasLessOffset)->offset) {
    spans_.push_back({end, 0});

    std::uint16_t index = 0;
    for (std::int64_t moment = begin(); moment < end; moment += std::int64_t{1} << bucketBits) {
        while (spans_[index + 1U].start <= moment) {
            ++index;
        }
        buckets_.push_back(index);
    }
}

TimeZoneRules::Located OffsetTable::locate(std::int64_t reading) const noexcept {
    const auto [first, index] = find(reading);
    if (first + spans_[index].offset != reading) {
        return {LocalTimeKind::skipped, first, first};
    }
    for (std::size_t later = index + 1; spans_[later].start <= reading - leastOffset_; ++later) {
        const std::int64_t again = reading - spans_[later].offset;
        if (spans_[later].start <= again && again < spans_[later + 1].start) {
            return {LocalTimeKind::repeated, first, again};
        }
    }
    return {LocalTimeKind::unique, first, first};
}

std::optional<std::int64_t> OffsetTable::nextChange(std::int64_t moment) const noexcept {
    const std::int64_t change = spans_[indexAt(moment) + 1].start;
    return change < end() ? std::optional(change) : std::nullopt;
}

}  // namespace quendokit
