#include "apps/quendo/transfer/transfer_document.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include "apps/quendo/transfer/transfer_formats_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool beginsIcalendar(std::string_view text) {
    constexpr std::string_view start = "BEGIN:";
    for (std::size_t i = 0; i < start.size(); ++i) {
        if (i == text.size() || std::toupper(static_cast<unsigned char>(text[i])) != start[i]) {
            return false;
        }
    }
    return true;
}

bool beginsJson(std::string_view text) {
    return text.starts_with('[') || text.starts_with('{');
}

}  // namespace

std::string writeTransfer(const std::vector<TransferEntry>& entries, TransferFormat format,
                          const TransferWriting& writing) {
    switch (format) {
        case TransferFormat::json:
            return writeJson(entries, writing);
        case TransferFormat::icalendar:
            return writeIcalendar(entries, writing);
    }
    return {};
}

Outcome<TransferDocument> readTransfer(std::string_view text, const TransferReading& reading) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    const auto start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) {
        return refusalOf(reading, "the file is empty; give one that quendo export or a calendar wrote");
    }
    // The lines in front stay, because refusals count them.
    const std::string_view content = text.substr(start);
    if (beginsJson(content)) {
        return readJson(text, reading);
    }
    if (beginsIcalendar(content)) {
        return readIcalendar(text, reading);
    }
    return refusalOf(
        reading,
        "line " + std::to_string(1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(start), '\n')),
        "this is neither JSON nor iCalendar; give a file that quendo export or a calendar wrote");
}

}  // namespace quendo
