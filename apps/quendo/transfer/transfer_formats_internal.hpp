#pragma once
/// \file
/// The readers and writers behind `transfer_document.hpp`, one pair a format.

#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo/transfer/transfer_document.hpp"

namespace quendo {

[[nodiscard]] std::string writeJson(const std::vector<TransferEntry>& entries, const TransferWriting& writing);
[[nodiscard]] std::string writeIcalendar(const std::vector<TransferEntry>& entries, const TransferWriting& writing);

/// `text` has no byte order mark; blank lines may stand at its start.
[[nodiscard]] Outcome<TransferDocument> readJson(std::string_view text, const TransferReading& reading);
[[nodiscard]] Outcome<TransferDocument> readIcalendar(std::string_view text, const TransferReading& reading);

}  // namespace quendo
