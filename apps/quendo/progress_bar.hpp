#pragma once
/// \file
/// `ProgressBar`, how much of a long work is done, for somebody who waits at a terminal.

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "apps/quendo/transfer/transfer_entry.hpp"

namespace quendo {

/// One line on a terminal that is written over again and again: "Importing [######      ]  50 %". Work of less than a
/// second shows none; later the line changes ten times a second at most. One thread only.
class ProgressBar {
public:
    /// What the bar reads and writes.
    struct Seams {
        std::function<std::chrono::steady_clock::time_point()> now;
        std::function<void(std::string_view)> write;
        /// The terminal's width; absent for none, and then nothing is ever written.
        std::optional<std::size_t> columns;
    };

    /// The work begins now. `label` says what it is, as "Importing".
    ProgressBar(std::string label, Seams seams);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    /// Erases.
    ~ProgressBar();

    /// On standard error, where that is a terminal; shows nothing when `quiet`.
    [[nodiscard]] static Seams standardError(bool quiet);

    /// So much is done; nothing of nothing is all. Another part of the work may begin at zero again.
    void show(std::size_t done, std::size_t total);

    /// Leaves the line empty and the cursor at its beginning. To be called before another line goes to the terminal.
    void erase();

    /// Calls `show`. Holds this bar, which must live as long.
    [[nodiscard]] TransferProgress callback();

private:
    [[nodiscard]] std::string line(std::size_t percent) const;

    const std::string label_;
    const Seams seams_;
    /// The line may change from here on.
    std::chrono::steady_clock::time_point next_;
    /// The columns that the line on the terminal takes.
    std::size_t shown_ = 0;
};

}  // namespace quendo
