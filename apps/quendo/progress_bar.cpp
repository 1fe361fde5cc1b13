#include "apps/quendo/progress_bar.hpp"

#include <algorithm>
#include <cmath>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>

#include "apps/quendo/terminal.hpp"
#include "apps/quendo/text_table.hpp"

namespace quendo {
namespace {

constexpr std::chrono::seconds silence(1);
constexpr std::chrono::milliseconds pause(100);
constexpr std::size_t longestBar = 50;
constexpr std::size_t shortestBar = 5;

std::size_t percentOf(std::size_t done, std::size_t total) {
    if (done >= total) {
        return 100;
    }
    return static_cast<std::size_t>(std::floor(100.0 * static_cast<double>(done) / static_cast<double>(total)));
}

void writeStandardError(std::string_view text) {
    // A bar that cannot be shown is no failure of the work.
    static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

}  // namespace

ProgressBar::ProgressBar(std::string label, Seams seams)
    : label_(std::move(label)), seams_(std::move(seams)), next_(seams_.now() + silence) {}

ProgressBar::~ProgressBar() {
    erase();
}

ProgressBar::Seams ProgressBar::standardError(bool quiet) {
    return {[] { return std::chrono::steady_clock::now(); }, writeStandardError,
            quiet ? std::nullopt : styleOf(STDERR_FILENO).columns};
}

void ProgressBar::show(std::size_t done, std::size_t total) {
    if (!seams_.columns) {
        return;
    }
    const auto now = seams_.now();
    if (now < next_) {
        return;
    }
    // Every line is as long as the one that it covers.
    const std::string text = line(percentOf(done, total));
    seams_.write("\r" + text);
    shown_ = widthOf(text);
    next_ = now + pause;
}

void ProgressBar::erase() {
    if (shown_ > 0) {
        // Blanks instead of a code: every terminal knows them.
        seams_.write("\r" + std::string(shown_, ' ') + "\r");
        shown_ = 0;
    }
}

TransferProgress ProgressBar::callback() {
    return [this](std::size_t done, std::size_t total) { show(done, total); };
}

std::string ProgressBar::line(std::size_t percent) const {
    // The last column stays free: a terminal may go to the next line when it is filled.
    const std::size_t room = std::max<std::size_t>(*seams_.columns, 1) - 1;
    const std::string number = fmt::format("{:>3} %", percent);
    const std::string label = label_ + " ";
    const std::size_t taken = widthOf(label) + widthOf("[] ") + widthOf(number);
    if (room < taken + shortestBar) {
        return fitted(number, room);
    }
    const std::size_t length = std::min(longestBar, room - taken);
    const std::size_t full = length * percent / 100;
    return fmt::format("{}[{}{}] {}", label, std::string(full, '#'), std::string(length - full, ' '), number);
}

}  // namespace quendo
