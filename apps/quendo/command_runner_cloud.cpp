/// \file
/// The commands of the cloud.

#include "apps/quendo/cloud/token_file.hpp"
#include "apps/quendo/command_runner.hpp"
#include "apps/quendo/render_cloud.hpp"

namespace quendo {
namespace {

constexpr std::chrono::seconds patience(30);

Outcome<CloudTokens> tokensOf(const CloudArguments& arguments) {
    if (!arguments.tokenFile) {
        if (!arguments.apiToken || !arguments.webToken) {
            return Failure{ExitCode::usage,
                           "the cloud needs two tokens; give --token-file, or --api-token and --web-token"};
        }
        return CloudTokens{*arguments.apiToken, *arguments.webToken};
    }
    if (arguments.apiToken || arguments.webToken) {
        return Failure{ExitCode::usage, "--token-file and --api-token or --web-token exclude each other"};
    }
    return readTokenFile(*arguments.tokenFile);
}

}  // namespace

Outcome<Output> CommandRunner::operator()(const CloudArguments& arguments) {
    using Verb = CloudArguments::Verb;
    switch (arguments.verb) {
        case Verb::connect:
            break;
        case Verb::status:
            return ask(CloudStatusRequest(), [&](const CloudView& view) {
                return json_ ? json::cloud(view, *zone_) : plain::cloud(view, *zone_);
            });
        case Verb::disconnect:
            return ask(CloudDisconnectRequest(), [&](const CloudDisconnected&) {
                return json_ ? json::disconnected() : std::string("Disconnected; the reminders stay.");
            });
    }
    auto tokens = tokensOf(arguments);
    if (!tokens) {
        return tokens.failure();
    }
    CloudConnectRequest request{arguments.url,
                                arguments.container,
                                arguments.environment,
                                std::move(tokens.value().apiToken),
                                std::move(tokens.value().webToken),
                                patience};
    return ask(std::move(request), [&](const CloudConnected& answer) {
        return json_ ? json::connected(answer) : plain::connected(answer);
    });
}

Outcome<Output> CommandRunner::operator()(const SyncArguments& arguments) {
    return ask(SyncRequest{std::chrono::seconds(arguments.timeout)},
               [&](const SyncAnswer& answer) { return json_ ? json::synced(answer) : plain::synced(answer); });
}

Outcome<Output> CommandRunner::operator()(const StatusArguments&) {
    return ask(StatusRequest(), [&](const HealthView& view) {
        return json_ ? json::health(view, *zone_) : plain::health(view, *zone_);
    });
}

}  // namespace quendo
