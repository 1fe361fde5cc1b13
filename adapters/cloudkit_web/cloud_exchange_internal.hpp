#pragma once
/// \file
/// `CloudExchange`, questions to the service and answers from it as JSON.

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "adapters/cloudkit_web/web_session.hpp"

namespace quendokit::web {

/// On the transport's thread.
class CloudExchange {
public:
    using Completion = std::function<void(Result<Json>)>;
    using OnSkipped = std::function<void(const Error&)>;

    CloudExchange(std::shared_ptr<WebSession> session, OnSkipped onSkipped);

    /// Posts `question`, or gets when it is null. `completion` is called later, or at once when nothing can be sent.
    void ask(std::string operation, const Json& question, const Completion& completion) const;

    /// `error` of `operation` as a line for a person.
    [[nodiscard]] Error explained(const std::string& operation, const Error& error) const;
    [[nodiscard]] std::optional<Error> explained(const std::string& operation, const std::optional<Error>& error) const;

    /// Tells that `count` items of an answer were left out.
    void didSkip(const std::string& operation, std::size_t count) const;

    [[nodiscard]] HttpTransport& transport() const noexcept { return session_->transport(); }

private:
    const std::shared_ptr<WebSession> session_;
    const OnSkipped onSkipped_;
};

}  // namespace quendokit::web
