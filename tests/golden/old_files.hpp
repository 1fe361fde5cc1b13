#pragma once
/// \file
/// Database files as older versions of the engine left them.

#include <filesystem>
#include <string>

namespace quendokit::testing {

/// Writes a file of schema version 0 to 3 with `count` reminders, whose fields follow from their number; `oldRow` says
/// how. False when SQLite refuses. The file must not exist.
///
/// Version 0 has ID, title, _device, _datetime and pending; 1 adds deleted, 2 adds shown, 3 is like 2.
bool writeOldFile(const std::filesystem::path& file, int version, int count);

/// The reminder with the number `i` in such a file.
struct OldRow {
    std::string id;
    std::string title;
    std::int64_t device;
    double datetime;
    bool pending;
    bool deleted;
    bool shown;
};
[[nodiscard]] OldRow oldRow(int i);

}  // namespace quendokit::testing
