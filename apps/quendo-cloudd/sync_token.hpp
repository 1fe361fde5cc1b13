#pragma once
/// \file
/// The texts by which a client says how far it has read.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cloudd {

/// Those of a zone's records and those of the list of zones; neither is good for the other.
enum class FeedKind { zone, database };

/// The place behind the change `sequence` in the feed of `identity` (32 hexadecimal digits). Stored by clients for
/// years.
[[nodiscard]] std::string makeSyncToken(FeedKind kind, std::string_view identity, std::int64_t sequence);

/// How a token that was sent reads.
struct SyncTokenReading {
    /// Absent when the token is refused, for `reason`.
    std::optional<std::int64_t> sequence;
    std::string reason = {};
};

/// Refuses what is no token, a token of another kind or another feed, and one of changes behind `newest`, which a
/// server put back to an old copy has not got.
[[nodiscard]] SyncTokenReading readSyncToken(std::string_view token, FeedKind kind, std::string_view identity,
                                             std::int64_t newest);

}  // namespace cloudd
