#include <nlohmann/json.hpp>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/json_values.hpp"
#include "apps/quendo/transfer/transfer_formats_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

using json::Json;

Json object(const TransferEntry& entry, const quendokit::LocalTimeZone& zone) {
    const TransferStanding standing = entry.standing.value_or(TransferStanding{});
    // What no UTF-8 is in the database would make the file one that cannot be imported.
    Json result = json::object({entry.id.value_or(""), plainText(entry.title), entry.shown, entry.condition,
                                standing.list, standing.pending, standing.deleted},
                               zone);
    if (!entry.id) {
        result.erase("id");
    }
    if (!entry.standing) {
        result.erase("list");
        result.erase("pending");
        result.erase("deleted");
    }
    result["completed"] = entry.completed ? json::time(*entry.completed, zone) : Json(nullptr);
    return result;
}

}  // namespace

std::string writeJson(const std::vector<TransferEntry>& entries, const TransferWriting& writing) {
    TransferSteps steps(writing.progress, entries.size());
    std::string text = "[";
    // A reminder a line: such a file can be searched and compared, and the line of an entry is easy to find.
    const char* separator = "\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        text += separator;
        text += object(entries[i], writing.zone).dump(-1, ' ', false, Json::error_handler_t::replace);
        separator = ",\n";
        steps.done(i + 1);
    }
    text += entries.empty() ? "]\n" : "\n]\n";
    steps.finish();
    return text;
}

}  // namespace quendo
