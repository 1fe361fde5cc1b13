#pragma once
/// \file
/// `Executor`, whoever does what a command asks for.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/request.hpp"

namespace quendo {

/// Does what requests ask, in this process or in another. As long as one lives, the words and days of the person's
/// language are at hand. One thread, and one at a time.
class Executor {
public:
    Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    virtual ~Executor() = default;

    /// Answers with the request's answer.
    [[nodiscard]] virtual Outcome<Response> execute(const Request& request) = 0;
};

/// Hears lines for the person.
using Warn = std::function<void(const std::string&)>;

/// The daemon, when there is one, else a session of this process's own. While somebody else is at work there and no
/// daemon answers, waits for either, 5 s at most. `warn` hears of what came up, while the executor lives.
[[nodiscard]] Outcome<std::unique_ptr<Executor>> findExecutor(const Folders& folders, Warn warn);

/// The request's own answer, of an `Executor` or a `Session`.
template <typename Executing, typename OneRequest>
[[nodiscard]] Outcome<typename OneRequest::Answer> ask(Executing& executor, OneRequest request) {
    auto response = executor.execute(Request(std::move(request)));
    if (!response) {
        return response.failure();
    }
    auto* answer = std::get_if<typename OneRequest::Answer>(&response.value());
    if (answer == nullptr) {
        return Failure{ExitCode::notDone, "the answer is one to something else; this is a mistake in quendo"};
    }
    return std::move(*answer);
}

}  // namespace quendo
