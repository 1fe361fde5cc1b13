#pragma once
/// \file
/// What is asked about subscriptions, and what the answers say.

#include <optional>
#include <string>
#include <vector>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_zone.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// `subscriptions/lookup`
[[nodiscard]] Json subscriptionToLookUp(const std::string& subscriptionID);

/// The subscription; `unknownItem` when there is none.
[[nodiscard]] Result<CKSubscription> foundSubscription(const std::string& asked, const Result<Json>& answer);

/// Every subscription in the answer of `subscriptions/list`. Single ones that cannot be read are left out.
[[nodiscard]] Result<std::vector<CKSubscription>> listedSubscriptions(const Result<Json>& answer);

/// `subscriptions/modify`
[[nodiscard]] Json subscriptionsToModify(const std::vector<CKSubscription>& toSave,
                                         const std::vector<std::string>& toDelete);

struct ModifiedSubscriptions {
    /// As the server says that they are saved.
    std::optional<std::vector<CKSubscription>> saved;
    std::optional<std::vector<std::string>> deleted;
    std::optional<Error> error;
};
/// A subscription that was not there counts as deleted.
[[nodiscard]] ModifiedSubscriptions modifiedSubscriptions(const std::vector<CKSubscription>& toSave,
                                                          const std::vector<std::string>& toDelete,
                                                          const Result<Json>& answer);

}  // namespace quendokit::web
