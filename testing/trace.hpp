#pragma once
/// \file
/// `Trace`, what several recorders saw, in one order.

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quendokit::testing {

/// Lines in the order in which they were recorded. Shared by the recorders of a test. One thread.
class Trace {
public:
    void add(std::string line) { lines_.push_back(std::move(line)); }
    [[nodiscard]] const std::vector<std::string>& lines() const noexcept { return lines_; }
    void clear() { lines_.clear(); }

private:
    std::vector<std::string> lines_;
};

}  // namespace quendokit::testing
