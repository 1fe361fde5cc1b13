#pragma once
/// \file
/// What is asked of the service to get a courier, and what the courier says.

#include <string>

#include "adapters/cloudkit_web/web_session.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// Where news are to be fetched. Plain value.
struct CourierAddress {
    /// Names this device to the service.
    std::string token;
    /// Holds secrets.
    std::string url;
};

/// `tokens/create`
[[nodiscard]] std::string addressQuestion(const WebAccount& account);
/// `tokens/register`
[[nodiscard]] std::string registration(const WebAccount& account, const std::string& token);

/// An error also when the address is not at least as well protected as the service's own.
[[nodiscard]] Result<CourierAddress> addressIn(const WebAccount& account, const std::string& answer);

/// What one answer of a courier means.
enum class CourierNews {
    /// Something has changed.
    change,
    /// Nothing has.
    nothing,
    /// It is no courier's answer.
    odd,
};
[[nodiscard]] CourierNews newsIn(const std::string& answer);

}  // namespace quendokit::web
