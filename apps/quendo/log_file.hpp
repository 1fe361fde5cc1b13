#pragma once
/// \file
/// The log, which takes the engine's lines so that standard output holds answers alone.

#include <filesystem>
#include <mutex>

#include "quendokit/platform/line_sink.hpp"

namespace quendo {

/// Appends lines to a file (0600). At one mebibyte the file is set aside as "….1" and a new one begun. Any thread.
class LogFile final : public quendokit::LineSink {
public:
    explicit LogFile(std::filesystem::path file) : file_(std::move(file)) {}

    void writeLine(std::string_view line) override;

private:
    const std::filesystem::path file_;
    std::mutex mutex_;
};

}  // namespace quendo
