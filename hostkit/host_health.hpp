#pragma once
/// \file
/// `HostHealth`, what a person should know of a host that does not do all it should.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// What a host knows of itself at one moment. Plain value; begins with nothing wrong and no cloud.
struct HostFacts {
    /// Whether reminders are mirrored; without, the next three do not matter.
    bool isMirrored = false;
    /// How many changes the cloud has not confirmed.
    std::size_t unsentCount = 0;
    bool isZoneKnown = false;
    /// When everything from elsewhere had arrived; absent when it never had.
    std::optional<Date> lastDownload;
    /// Whether the last write to the disk failed.
    bool hasWriteFailed = false;
    /// Whether there is a notification service.
    bool isPresenterReachable = true;
};

/// Tells what is wrong, and what of that is new, so that a host speaks of it once: not again until it was mended and
/// went wrong anew. Has no timer; a clock that is set back begins its waits anew. Main thread only.
class QUENDOKIT_EXPORT HostHealth {
public:
    enum class Problem : std::uint8_t { changesUnsent, zoneUnknown, downloadsMissing, writesFail, nobodyShows };

    /// How things stand.
    struct State {
        /// Everything that is wrong: each a line that says what, where and what to do.
        std::vector<std::string> lines;
        /// Those of them that were not wrong at the last call.
        std::vector<std::string> newLines;
    };

    /// How things stand at `now`: changes unsent or a zone unknown for 15 minutes, no download for an hour (since the
    /// first call, as nobody could have asked before), a failed write, no notification service.
    State update(const HostFacts& facts, Date now);
    /// The machine was asleep: all waits begin anew, as nothing could have come meanwhile.
    void resumed();

private:
    /// Whether `isSo` has been so for `seconds`.
    [[nodiscard]] bool lasts(Problem problem, bool isSo, std::int64_t seconds, Date now);
    [[nodiscard]] std::vector<Problem> problemsOf(const HostFacts& facts, Date now);

    std::map<Problem, Date> since_;
    std::vector<Problem> last_;
    std::optional<Date> lastDownload_;
};

}  // namespace quendokit
