#pragma once
/// \file
/// `ManualRunLoopProvider`, run loops for a test.

#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "testing/manual_run_loop.hpp"

namespace quendokit::testing {

/// One manual loop, which is the main thread's and that of every other thread too, except where a `ScopedCurrent` says
/// otherwise. Any thread.
class QUENDOKIT_EXPORT ManualRunLoopProvider final : public RunLoopProvider {
public:
    /// Gives the calling thread another loop for its own lifetime: for a part of a test, or for a whole thread. Scopes
    /// of a thread nest and end in the reverse order; the provider outlives them.
    class QUENDOKIT_EXPORT ScopedCurrent {
    public:
        ScopedCurrent(ManualRunLoopProvider& provider, std::shared_ptr<ManualRunLoop> loop);
        ScopedCurrent(const ScopedCurrent&) = delete;
        ScopedCurrent& operator=(const ScopedCurrent&) = delete;
        ~ScopedCurrent();

    private:
        ManualRunLoopProvider& provider_;
        std::shared_ptr<ManualRunLoop> previous_;
    };

    explicit ManualRunLoopProvider(std::shared_ptr<ManualRunLoop> main = std::make_shared<ManualRunLoop>());

    [[nodiscard]] ManualRunLoop& main() override;
    [[nodiscard]] ManualRunLoop& current() override;

private:
    /// Makes `loop` that of the calling thread, null for the main one, and answers what it was.
    std::shared_ptr<ManualRunLoop> exchangeCurrent(std::shared_ptr<ManualRunLoop> loop);

    const std::shared_ptr<ManualRunLoop> main_;
    std::mutex mutex_;
    std::map<std::thread::id, std::shared_ptr<ManualRunLoop>> others_;
};

}  // namespace quendokit::testing
