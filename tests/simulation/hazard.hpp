#pragma once
/// \file
/// The ways in which a change is known to get lost between devices, and where that was seen.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace quendokit::simulation {

enum class Hazard : std::uint8_t {
    /// A failed download erased the token: the full read that follows puts the server's older version over a change
    /// that was not sent yet.
    olderVersionAfterErasedToken,
    /// A reminder changed while its upload was on its way: the confirmation marks the newer version as sent, too.
    changedDuringUpload,
    /// A reminder was deleted while its upload was on its way: the confirmation removes it, and the deletion is never
    /// sent.
    deletedDuringUpload,
    /// A crash between the token of a page and the changes in it, which were still queued.
    tokenBeforeChanges,
    /// A read from the beginning does not tell what was deleted meanwhile.
    deletionNotTold,
    /// A device's own older version came back and was put over a change that was not sent yet.
    ownEcho,
    /// An older version of a reminder reached the server behind a newer one of the same device.
    uploadOvertaken,
};

inline constexpr std::array<std::string_view, 7> hazardNames{"older version after an erased token",
                                                             "changed during its upload",
                                                             "deleted during its upload",
                                                             "token before its changes",
                                                             "deletion not told",
                                                             "own echo",
                                                             "upload overtaken"};

/// What was seen of them.
struct Findings {
    void note(Hazard hazard, const std::string& id) {
        ++count[hazard];
        ofReminder[id].insert(hazard);
    }

    std::map<Hazard, std::size_t> count;
    std::map<std::string, std::set<Hazard>> ofReminder;
    /// One upload named a reminder twice.
    std::size_t namedTwice = 0;
};

}  // namespace quendokit::simulation
