#pragma once
/// \file
/// `CloudGuardOptions`: what a guarded cloud database guards against, and whom it tells.

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/ck_record.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit {

/// Each protection has a switch. With all of them off, everything is passed on as it is.
struct CloudGuardOptions {
    /// One operation is on its way at a time, the first that is ready first: uploads cannot overtake each other.
    /// What one of them has brought to the cloud while a later one waited, the later one does not send again.
    bool oneAtATime = true;
    /// Being offline is waiting, not an error: what failed for a while is tried again, after 1 second at first and
    /// after 5 minutes at most, or after what the server asks for, a day at most. What no waiting helps comes out, and
    /// so does what the server itself fails over twice.
    bool waitsForNetwork = true;
    /// Before a download, what is unsent is uploaded, once.
    bool uploadsFirst = true;
    /// A downloaded change of a reminder whose own change is unsent is dropped: the upload that follows replaces it.
    /// Not so one of a reminder that the server has refused: no upload follows, and what came later takes its place.
    /// What this process has uploaded or deleted itself is dropped, too.
    bool shieldsUnsent = true;
    /// An upload goes in requests of 200 items and a megabyte. When the server refuses one, its items are sent in ever
    /// smaller ones until those that it refuses stand alone; they wait until they change. One with another save policy
    /// than the engine's is all or none, and goes as it is.
    bool splitsUploads = true;
    /// Text that the service takes not (no UTF-8, or a zero byte in it) is not sent.
    bool checksText = true;
    /// A reminder that changes while its upload is on its way takes the upload back, so that its confirmation is not
    /// taken for one of the newer change; see `perform`.
    bool cancelsTouched = true;
    /// What arrives together shares one wait for the disk, if the guard knows the database (`setRealm`).
    bool sharesCommits = true;

    std::size_t itemsPerRequest = 200;
    std::size_t bytesPerRequest = 1'000'000;
    /// At least 0 and less than 1, another one at each call: shortens waits, so that devices do not come back all at
    /// once. Absent: random.
    std::function<double()> jitter = {};
};

/// Whom it tells, on the main thread. Each may be absent.
struct CloudGuardEvents {
    /// A zone was looked up or made, or could not be.
    std::function<void()> zoneAnswered = {};
    /// An upload is over; an error that no waiting helps. Cancelled ones are not told of.
    std::function<void(const std::optional<Error>&)> uploadEnded = {};
    /// A page was read, or could not be.
    std::function<void(const std::optional<Error>&)> downloadEnded = {};
    /// The cloud has confirmed these, deletions too.
    std::function<void(const std::vector<std::string>&)> confirmed = {};
    /// These come from the cloud, and go to the engine next.
    std::function<void(const std::vector<CKRecord>&, const std::vector<CKRecordID>&)> received = {};
    /// A write of the reminders' database has failed, in an earlier turn: what came may have to be downloaded again,
    /// and nobody asks for that.
    std::function<void()> writeFailed = {};
    /// Something failed that is tried again after a while.
    std::function<void(const Error&, std::chrono::nanoseconds)> waits = {};
    /// One line for the log, in a later turn: an item that the server does not take.
    std::function<void(const std::string&)> reports = {};
};

}  // namespace quendokit
