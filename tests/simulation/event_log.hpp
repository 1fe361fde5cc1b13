#pragma once
/// \file
/// `EventLog`, all that happened in a simulation, line by line.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/line_sink.hpp"

namespace quendokit::simulation {

/// Every line is hashed; those of a short run are kept.
class EventLog {
public:
    explicit EventLog(bool keeps) : keeps_(keeps) {}

    /// Adds a line of the device that is at work.
    void add(std::string_view line) {
        hash(device_);
        hash(": ");
        hash(line);
        hash("\n");
        if (keeps_) {
            lines_.push_back(device_ + ": " + std::string(line));
        }
    }

    /// Says which device is at work.
    void setDevice(std::string name) { device_ = std::move(name); }

    [[nodiscard]] std::vector<std::string> take() { return std::exchange(lines_, {}); }
    /// FNV-1a of all lines.
    [[nodiscard]] std::uint64_t hash() const noexcept { return hash_; }

private:
    void hash(std::string_view text) {
        for (const char c : text) {
            hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
        }
    }

    const bool keeps_;
    std::string device_ = "world";
    std::uint64_t hash_ = 0xcbf29ce484222325U;
    std::vector<std::string> lines_;
};

/// Adds lines to the log, with a word before them.
class LoggingSink final : public LineSink {
public:
    LoggingSink(std::shared_ptr<EventLog> log, std::string prefix) : log_(std::move(log)), prefix_(std::move(prefix)) {}
    void writeLine(std::string_view line) override { log_->add(prefix_ + std::string(line)); }

private:
    const std::shared_ptr<EventLog> log_;
    const std::string prefix_;
};

}  // namespace quendokit::simulation
