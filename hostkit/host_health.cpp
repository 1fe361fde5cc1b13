#include "hostkit/host_health.hpp"

#include <algorithm>

#include "quendokit/model/date_operations.hpp"
#include "quendokit/model/time_units.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {
namespace {

constexpr std::int64_t quarterOfAnHour = 900;
constexpr std::int64_t wholeHour = 3'600;

std::string lineOf(HostHealth::Problem problem, const HostFacts& facts) {
    switch (problem) {
        case HostHealth::Problem::changesUnsent:
            return std::to_string(facts.unsentCount) + (facts.unsentCount == 1 ? " change has" : " changes have") +
                   " not reached the cloud for 15 minutes; check the network and the cloud's settings";
        case HostHealth::Problem::zoneUnknown:
            return "the cloud has not answered for 15 minutes; check the network and the cloud's settings";
        case HostHealth::Problem::downloadsMissing:
            return "nothing has come from the cloud for an hour; check the network and the cloud's settings";
        case HostHealth::Problem::writesFail:
            return "a change could not be stored on the disk; make room on it and check that it can be written to";
        case HostHealth::Problem::nobodyShows:
            return "there is no notification service, so no reminder is shown; start one";
    }
    fatalError("no such problem");
}

}  // namespace

void HostHealth::resumed() {
    since_.clear();
}

HostHealth::State HostHealth::update(const HostFacts& facts, Date now) {
    State state;
    const auto problems = problemsOf(facts, now);
    for (const Problem problem : problems) {
        state.lines.push_back(lineOf(problem, facts));
        if (std::find(last_.begin(), last_.end(), problem) == last_.end()) {
            state.newLines.push_back(state.lines.back());
        }
    }
    last_ = problems;
    return state;
}

std::vector<HostHealth::Problem> HostHealth::problemsOf(const HostFacts& facts, Date now) {
    std::vector<Problem> problems;
    const auto note = [&](Problem problem, bool isProblem) {
        if (isProblem) {
            problems.push_back(problem);
        }
    };
    if (facts.lastDownload != lastDownload_) {
        since_.erase(Problem::downloadsMissing);
        lastDownload_ = facts.lastDownload;
    }
    const bool isUnsent = facts.isMirrored && facts.unsentCount > 0;
    note(Problem::changesUnsent, lasts(Problem::changesUnsent, isUnsent, quarterOfAnHour, now));
    const bool isUnknown = facts.isMirrored && !facts.isZoneKnown;
    note(Problem::zoneUnknown, lasts(Problem::zoneUnknown, isUnknown, quarterOfAnHour, now));
    note(Problem::downloadsMissing, lasts(Problem::downloadsMissing, facts.isMirrored, wholeHour, now));
    note(Problem::writesFail, facts.hasWriteFailed);
    note(Problem::nobodyShows, !facts.isPresenterReachable);
    return problems;
}

bool HostHealth::lasts(Problem problem, bool isSo, std::int64_t seconds, Date now) {
    if (!isSo) {
        since_.erase(problem);
        return false;
    }
    Date& since = since_.emplace(problem, now).first->second;
    since = std::min(since, now);
    return now - seconds >= since;
}

}  // namespace quendokit
