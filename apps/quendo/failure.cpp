#include "apps/quendo/failure.hpp"

#include "adapters/files/file_user_defaults.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/realm_error.hpp"

namespace quendo {
namespace {

using quendokit::FileUserDefaultsErrorCode;
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

ExitCode exitCodeOf(FileUserDefaultsErrorCode code) {
    switch (code) {
        case FileUserDefaultsErrorCode::damaged:
            return ExitCode::damaged;
        case FileUserDefaultsErrorCode::locked:
            return ExitCode::locked;
        case FileUserDefaultsErrorCode::invalidValue:
            return ExitCode::usage;
        case FileUserDefaultsErrorCode::unavailable:
        case FileUserDefaultsErrorCode::full:
        case FileUserDefaultsErrorCode::notPermitted:
            return ExitCode::notDone;
    }
    return ExitCode::notDone;
}

}  // namespace

Failure failureOf(const quendokit::Error& error) {
    if (error.domain == quendokit::realmErrorDomain) {
        return {exitCodeOf(static_cast<RealmErrorCode>(error.code)), error.description};
    }
    if (error.domain == quendokit::fileUserDefaultsErrorDomain) {
        return {exitCodeOf(static_cast<FileUserDefaultsErrorCode>(error.code)), error.description};
    }
    if (error.domain == quendokit::CKErrorDomain) {
        return {ExitCode::cloud, error.description};
    }
    return {ExitCode::notDone, error.description};
}

}  // namespace quendo
