#pragma once
/// \file
/// `RecordingLineSink`, a `LineSink` that prints nothing.

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/line_sink.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Keeps the lines. With a trace (then for one thread only), it also adds each line there.
class RecordingLineSink final : public LineSink {
public:
    explicit RecordingLineSink(std::shared_ptr<Trace> trace = nullptr) : trace_(std::move(trace)) {}

    void writeLine(std::string_view line) override {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
        if (trace_) {
            trace_->add(std::string(line));
        }
    }

    [[nodiscard]] std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<Trace> trace_;
    std::vector<std::string> lines_;
};

}  // namespace quendokit::testing
