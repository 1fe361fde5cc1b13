#include <algorithm>
#include <array>
#include <utility>

#include "adapters/cloudkit_web/item_failures_internal.hpp"

namespace quendokit::web {
namespace {

/// Failed because another item of the same request did.
bool isFollower(const ServerFailure& failure) {
    return failure.code == "ATOMIC_ERROR";
}

/// Whether an item fails so whatever stands in it: another time, or once the person has done something, it is taken.
bool isNoFaultOfAnItem(const Error& error) {
    constexpr std::array codes{CKErrorCode::zoneNotFound,       CKErrorCode::zoneBusy,
                               CKErrorCode::serviceUnavailable, CKErrorCode::requestRateLimited,
                               CKErrorCode::quotaExceeded,      CKErrorCode::notAuthenticated,
                               CKErrorCode::permissionFailure};
    return std::any_of(codes.begin(), codes.end(), [&](CKErrorCode code) { return isCKError(error, code); });
}

}  // namespace

void ItemFailures::add(const std::string& name, ServerFailure failure) {
    ++failedCount_;
    if (!first_ || (isFollower(first_->failure) && !isFollower(failure))) {
        first_ = Failed{name, std::move(failure)};
    }
}

void ItemFailures::addUnanswered(const std::string& name) {
    add(name, {"no code", "the answer says nothing about it"});
}

std::optional<Error> ItemFailures::error(bool ownCodes) const {
    if (!first_) {
        return std::nullopt;
    }
    const Error own = errorOf(first_->failure);
    if ((ownCodes && itemCount_ == 1) || isNoFaultOfAnItem(own)) {
        Error error = own;
        error.description = kind_ + " " + asPartOfALine(first_->name) + ": " + own.description;
        return error;
    }
    Error error = makeCKError(CKErrorCode::partialFailure, lineOfFirst());
    error.retryAfter = first_->failure.retryAfter;
    return error;
}

std::string ItemFailures::lineOfFirst() const {
    return std::to_string(failedCount_) + " of " + std::to_string(itemCount_) + " not taken; first " + kind_ + " " +
           asPartOfALine(first_->name) + ": " + lineOf(first_->failure);
}

}  // namespace quendokit::web
