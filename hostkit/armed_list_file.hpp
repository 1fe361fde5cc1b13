#pragma once
/// \file
/// `ArmedListFile`, where it stands what is still to ring.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/armed_list.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The armed list as a file (0600): the next start knows from it what was known before it fell due, and another
/// process can ring from it when the database cannot be read. Needs POSIX files. One writer; main thread only.
///
/// Stored format: checked lines of JSON, the first with the version and the count, then one a reminder. The errors'
/// domain is "ArmedListFile", their code is that of `errno`.
class QUENDOKIT_EXPORT ArmedListFile {
public:
    /// `file` is in a folder that exists. `reports` takes one line at a time and may be empty.
    explicit ArmedListFile(std::filesystem::path file, std::function<void(const std::string&)> reports = {})
        : file_(std::move(file)), reports_(std::move(reports)) {}

    /// What stands there; absent when nothing does. A file that is damaged, or of a newer version, is put aside
    /// (".damaged" behind its name) with one line, and is absent; so is one that cannot be read, with one line.
    [[nodiscard]] std::optional<std::vector<ArmedReminder>> read();

    /// Makes `armed` stand there: the old list or the new one after a crash, on the disk when this returns without an
    /// error. Writes nothing when it stands there already; what is over by `now` may go on standing before it, so that
    /// a reminder that rings costs no writing.
    [[nodiscard]] std::optional<Error> write(const std::vector<ArmedReminder>& armed, Date now);

    /// How often it was written.
    [[nodiscard]] std::size_t writeCount() const noexcept { return writeCount_; }

private:
    void putAside(const std::string& why);

    const std::filesystem::path file_;
    const std::function<void(const std::string&)> reports_;
    /// What stands there, if that is known.
    std::optional<std::vector<ArmedReminder>> written_;
    std::size_t writeCount_ = 0;
};

}  // namespace quendokit
