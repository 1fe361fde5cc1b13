#include "hostkit/transient_error.hpp"

#include <algorithm>
#include <array>

#include "quendokit/platform/ck_error.hpp"

namespace quendokit {

bool isTransient(const Error& error, bool wasTried) {
    constexpr std::array codes{CKErrorCode::networkUnavailable, CKErrorCode::networkFailure,
                               CKErrorCode::serviceUnavailable, CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy};
    return std::any_of(codes.begin(), codes.end(), [&](CKErrorCode code) { return isCKError(error, code); }) ||
           (isCKError(error, CKErrorCode::internalError) && !wasTried);
}

}  // namespace quendokit
