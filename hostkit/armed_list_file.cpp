#include "hostkit/armed_list_file.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>

#include "hostkit/alarm_json_internal.hpp"
#include "hostkit/durable_file_internal.hpp"
#include "hostkit/tell_internal.hpp"

namespace quendokit {
namespace {

OwnFile armedFile(const std::filesystem::path& path) {
    return {path, "ArmedListFile", "armed list"};
}

/// Absent unless all of it is as it was written.
std::optional<std::vector<ArmedReminder>> armedFromText(std::string_view text) {
    const CheckedLines lines = checkedLines(text);
    if (lines.damagedCount > 0 || lines.wholeSize != text.size() || lines.texts.empty() ||
        armedCountFromLine(lines.texts.front()) != lines.texts.size() - 1) {
        return std::nullopt;
    }
    std::vector<ArmedReminder> armed;
    for (std::size_t i = 1; i < lines.texts.size(); ++i) {
        auto reminder = armedFromLine(lines.texts[i]);
        if (!reminder) {
            return std::nullopt;
        }
        armed.push_back(*std::move(reminder));
    }
    return armed;
}

}  // namespace

std::optional<std::vector<ArmedReminder>> ArmedListFile::read() {
    const auto opened = armedFile(file_).open(O_RDONLY);
    if (!opened) {
        if (opened.error().code != ENOENT) {
            tell(reports_, opened.error().description);
        }
        return std::nullopt;
    }
    const OpenFile file(opened.value());
    const auto text = armedFile(file_).read(file.descriptor());
    if (!text) {
        tell(reports_, text.error().description);
        return std::nullopt;
    }
    written_ = armedFromText(text.value());
    if (!written_) {
        putAside("the armed list is damaged or of a newer version");
    }
    return written_;
}

void ArmedListFile::putAside(const std::string& why) {
    std::filesystem::path aside = file_;
    aside += ".damaged";
    std::error_code failure;
    std::filesystem::rename(file_, aside, failure);
    tell(reports_, file_.string() + ": " + why + "; " +
                       (failure ? "it cannot be moved aside (" + failure.message() + ")"
                                : "it is kept as " + aside.filename().string()) +
                       ", a new one is made from the database");
}

std::optional<Error> ArmedListFile::write(const std::vector<ArmedReminder>& armed, Date now) {
    if (written_ && std::equal(std::find_if(written_->begin(), written_->end(),
                                            [now](const ArmedReminder& known) { return known.date >= now; }),
                               written_->end(), armed.begin(), armed.end())) {
        return std::nullopt;
    }
    std::string text = checkedLine(armedCountLine(armed.size()));
    for (const ArmedReminder& reminder : armed) {
        text += checkedLine(armedLine(reminder));
    }
    written_.reset();
    if (auto error = armedFile(file_).replace(text)) {
        return error;
    }
    written_ = armed;
    ++writeCount_;
    return std::nullopt;
}

}  // namespace quendokit
