#pragma once
/// \file
/// `LineSink`, where the engine prints lines.

#include <memory>
#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Takes whole lines of text, one after the other. Any thread.
class LineSink {
public:
    LineSink() = default;
    LineSink(const LineSink&) = delete;
    LineSink& operator=(const LineSink&) = delete;
    virtual ~LineSink() = default;

    /// Writes `line`, which holds no line break, and a line break. A line that cannot be written is dropped: the engine
    /// has nobody to tell.
    virtual void writeLine(std::string_view line) = 0;
};

/// The process's standard output, flushed after each line.
[[nodiscard]] QUENDOKIT_EXPORT std::shared_ptr<LineSink> makeStandardOutputSink();

/// The process's standard error.
[[nodiscard]] QUENDOKIT_EXPORT std::shared_ptr<LineSink> makeStandardErrorSink();

}  // namespace quendokit
