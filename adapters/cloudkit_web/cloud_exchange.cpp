#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/cloud_exchange_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"

namespace quendokit::web {

CloudExchange::CloudExchange(std::shared_ptr<WebSession> session, OnSkipped onSkipped)
    : session_(std::move(session)), onSkipped_(std::move(onSkipped)) {}

void CloudExchange::ask(std::string operation, const Json& question, const Completion& completion) const {
    WebCall call{std::move(operation)};
    if (!question.is_null()) {
        call.body = rendered(question);
        if (!call.body) {
            completion(makeCKError(CKErrorCode::invalidArguments, "a name is not UTF-8; nothing is sent"));
            return;
        }
    }
    session_->send(std::move(call), [completion](const Result<std::string>& text) {
        auto answer = text ? parsed(text.value()) : Result<Json>(text.error());
        // An answer of success may turn out to be none.
        const auto failure = answer ? serverFailureIn(answer.value()) : std::nullopt;
        completion(failure ? Result<Json>(errorOf(*failure)) : std::move(answer));
    });
}

Error CloudExchange::explained(const std::string& operation, const Error& error) const {
    return session_->explained(operation, error);
}

std::optional<Error> CloudExchange::explained(const std::string& operation, const std::optional<Error>& error) const {
    return error ? std::optional(explained(operation, *error)) : std::nullopt;
}

void CloudExchange::didSkip(const std::string& operation, std::size_t count) const {
    if (count > 0 && onSkipped_) {
        onSkipped_(explained(
            operation, oddAnswer(std::to_string(count) + " records cannot be read by this version and are left out")));
    }
}

}  // namespace quendokit::web
