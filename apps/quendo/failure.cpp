#include "apps/quendo/failure.hpp"

#include "quendokit/platform/realm_error.hpp"

namespace quendo {
namespace {

using quendokit::RealmErrorCode;

ExitCode exitCodeOf(RealmErrorCode code) {
    switch (code) {
        case RealmErrorCode::damaged:
        case RealmErrorCode::newerVersion:
            return ExitCode::damaged;
        case RealmErrorCode::locked:
            return ExitCode::locked;
        case RealmErrorCode::invalidValue:
            return ExitCode::usage;
        case RealmErrorCode::unavailable:
        case RealmErrorCode::full:
        case RealmErrorCode::notPermitted:
        case RealmErrorCode::nested:
            return ExitCode::notDone;
    }
    return ExitCode::notDone;
}

}  // namespace

Failure failureOf(const quendokit::Error& error) {
    const bool ofDatabase = error.domain == quendokit::realmErrorDomain;
    return {ofDatabase ? exitCodeOf(static_cast<RealmErrorCode>(error.code)) : ExitCode::notDone, error.description};
}

}  // namespace quendo
