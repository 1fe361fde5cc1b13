#include "apps/quendo/executor.hpp"

#include <chrono>
#include <optional>
#include <thread>

#include "apps/quendo/daemon/client_language.hpp"
#include "apps/quendo/daemon/daemon_client.hpp"
#include "apps/quendo/lock_file.hpp"
#include "apps/quendo/session.hpp"

namespace quendo {
namespace {

constexpr std::chrono::seconds patienceForOthers(5);
constexpr std::chrono::milliseconds betweenLooks(10);

class SessionExecutor final : public Executor {
public:
    explicit SessionExecutor(std::unique_ptr<Session> session) : session_(std::move(session)) {}

    [[nodiscard]] Outcome<Response> execute(const Request& request) override { return session_->execute(request); }

private:
    const std::unique_ptr<Session> session_;
};

class DaemonExecutor final : public Executor {
public:
    DaemonExecutor(DaemonClient client, Warn warn) : client_(std::move(client)), warn_(std::move(warn)) {}

    [[nodiscard]] Outcome<Response> execute(const Request& request) override {
        auto answer = client_.ask(request);
        if (!answer) {
            return answer.failure();
        }
        for (const std::string& line : answer.value().warnings) {
            warn_(line);
        }
        if (const auto* failure = std::get_if<Failure>(&answer.value().result)) {
            return *failure;
        }
        auto response = std::get<Response>(std::move(answer).value().result);
        translate(response);
        return response;
    }

private:
    /// The daemon may speak another language than the person at this terminal.
    void translate(Response& response) {
        if (auto* presets = std::get_if<PresetsView>(&response)) {
            language_.translate(*presets);
        }
        if (auto* actions = std::get_if<std::vector<ActionView>>(&response)) {
            auto options = client_.ask(OptionsRequest());
            const auto* plan = options ? std::get_if<Response>(&options.value().result) : nullptr;
            if (plan != nullptr && std::holds_alternative<OptionsView>(*plan)) {
                language_.translate(*actions, std::get<OptionsView>(*plan));
            }
        }
    }

    DaemonClient client_;
    const Warn warn_;
    const ClientLanguage language_;
};

}  // namespace

Outcome<std::unique_ptr<Executor>> findExecutor(const Folders& folders, Warn warn) {
    const auto end = std::chrono::steady_clock::now() + patienceForOthers;
    for (;;) {
        auto client = DaemonClient::find(folders.socket());
        if (!client) {
            return client.failure();
        }
        if (client.value()) {
            return std::unique_ptr<Executor>(
                std::make_unique<DaemonExecutor>(*std::move(client).value(), std::move(warn)));
        }
        auto lock = takeLock(folders, std::chrono::milliseconds(0));
        if (lock) {
            auto session = Session::open(folders, std::make_shared<LockFile>(std::move(lock).value()), std::move(warn));
            if (!session) {
                return session.failure();
            }
            return std::unique_ptr<Executor>(std::make_unique<SessionExecutor>(std::move(session).value()));
        }
        if (lock.failure().code != ExitCode::locked || std::chrono::steady_clock::now() >= end) {
            return lock.failure();
        }
        // It may be a daemon that begins.
        std::this_thread::sleep_for(betweenLooks);
    }
}

}  // namespace quendo
