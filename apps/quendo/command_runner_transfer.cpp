/// \file
/// The commands that move reminders out and in.

#include "adapters/event_loop/system_clock.hpp"
#include "apps/quendo/command_runner.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/progress_bar.hpp"
#include "apps/quendo/render_changes.hpp"
#include "apps/quendo/render_json.hpp"
#include "apps/quendo/transfer/transfer_document.hpp"
#include "apps/quendo/transfer/transfer_file.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

Outcome<TransferFormat> formatOf(const ExportArguments& arguments) {
    if (!arguments.format) {
        const bool isCalendar = arguments.file && arguments.file->ends_with(".ics");
        return isCalendar ? TransferFormat::icalendar : TransferFormat::json;
    }
    if (*arguments.format == "json") {
        return TransferFormat::json;
    }
    if (*arguments.format == "ics") {
        return TransferFormat::icalendar;
    }
    return Failure{ExitCode::usage,
                   "there is no format \"" + escapedText(*arguments.format, 80) + "\"; give json or ics"};
}

/// Why an entry could not be imported again. What another program or version stored may be odder than what we take.
TransferProblem problemOf(const TransferEntry& entry) {
    auto problem = problemOfTitle(entry.title);
    if (!problem && entry.id) {
        problem = problemOfIdentifier(*entry.id);
    }
    if (const auto date = entry.condition.date(); !problem && date) {
        problem = problemOfMoment("the moment", *date);
    }
    return problem;
}

}  // namespace

Outcome<Output> CommandRunner::operator()(const ExportArguments& arguments) {
    auto format = formatOf(arguments);
    if (!format) {
        return format.failure();
    }
    auto executor = openExecutor();
    if (!executor) {
        return executor.failure();
    }
    auto entries = quendo::ask(*executor.value(), ExportRequest());
    if (!entries) {
        return entries.failure();
    }
    for (const TransferEntry& entry : entries.value()) {
        if (const auto problem = problemOf(entry)) {
            warn("\"" + escapedText(entry.title, 60) + "\" (" + escapedText(entry.id.value_or(""), 60) +
                 ") could not be imported again: " + *problem);
        }
    }
    ProgressBar bar("Exporting", ProgressBar::standardError(quiet_));
    std::string text =
        writeTransfer(entries.value(), format.value(), {*zone_, quendokit::SystemClock().now(), bar.callback()});
    bar.erase();
    if (!arguments.file || *arguments.file == "-") {
        text.pop_back();
        return Output{std::move(text), ExitCode::done, true};
    }
    if (auto failure = writeTransferFile(*arguments.file, text)) {
        return *std::move(failure);
    }
    const std::size_t count = entries.value().size();
    return Output{json_ ? json::count("exported", count) : plain::exported(count, transferFileName(*arguments.file))};
}

Outcome<std::int64_t> CommandRunner::workdayMorning() const {
    auto executor = openExecutor();
    if (!executor) {
        return executor.failure();
    }
    auto options = quendo::ask(*executor.value(), OptionsRequest());
    // While the settings cannot be read, everyone's plan serves; the import itself says so.
    return options ? options.value().workdayMorning : TransferReading{"", *zone_}.timeOfDates;
}

Outcome<Output> CommandRunner::operator()(const ImportArguments& arguments) {
    auto text = readTransferFile(arguments.file);
    if (!text) {
        return text.failure();
    }
    auto morning = workdayMorning();
    if (!morning) {
        return morning.failure();
    }
    ProgressBar bar("Importing", ProgressBar::standardError(quiet_));
    auto document =
        readTransfer(text.value(), {transferFileName(arguments.file), *zone_, morning.value(), bar.callback()});
    bar.erase();
    if (!document) {
        return document.failure();
    }
    for (const std::string& line : document.value().warnings) {
        warn(line);
    }
    return ask(ImportRequest{std::move(document.value().entries)}, [&](const ImportAnswer& answer) {
        if (!answer.leftOut.empty()) {
            warn("left out, because they are deleted here and the cloud does not know yet: " +
                 plain::someTitles(answer.leftOut));
        }
        return json_ ? json::count("imported", answer.imported) : plain::imported(answer.imported);
    });
}

}  // namespace quendo
