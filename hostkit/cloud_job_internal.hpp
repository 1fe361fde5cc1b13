#pragma once
/// \file
/// `CloudJob`, one thing that a guarded database was asked for.

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit {

/// Asks the database behind the guard, once or several times, then answers who asked. Main thread; the answers of the
/// database come through the main queue.
class CloudJob {
public:
    using Done = std::function<void(const std::optional<Error>&)>;

    explicit CloudJob(std::shared_ptr<DispatchQueue> mainQueue) : mainQueue_(std::move(mainQueue)) {}
    CloudJob(const CloudJob&) = delete;
    CloudJob& operator=(const CloudJob&) = delete;
    virtual ~CloudJob() = default;

    [[nodiscard]] virtual bool isReady() const { return true; }

    /// Sends one request. `done` is called once, in a later turn of the main queue.
    virtual void attempt(CKDatabase& database, Done done) = 0;

    /// Takes in what an attempt came to, unless it is tried again anyway; answers whether another one is needed.
    [[nodiscard]] virtual bool needsAnother(const std::optional<Error>& /*error*/) { return false; }

    /// Answers who asked, with what the attempts came to.
    virtual void finish() = 0;

    /// Whether the last attempt failed inside the server.
    bool failedInside = false;

protected:
    [[nodiscard]] const std::shared_ptr<DispatchQueue>& mainQueue() const noexcept { return mainQueue_; }

private:
    const std::shared_ptr<DispatchQueue> mainQueue_;
};

}  // namespace quendokit
