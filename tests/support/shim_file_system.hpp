#pragma once
/// \file
/// A file system for SQLite that counts what is made durable and fails when told to.

#include <cstddef>
#include <string>

namespace quendokit::testing {

/// While it lives, SQLite knows a file system called `name()` that passes everything on to the default one. One at a
/// time; its files are closed before it ends. One thread.
class ShimFileSystem {
public:
    ShimFileSystem();
    ShimFileSystem(const ShimFileSystem&) = delete;
    ShimFileSystem& operator=(const ShimFileSystem&) = delete;
    ~ShimFileSystem();

    [[nodiscard]] static std::string name() { return "shim"; }

    /// How often a file was synced.
    [[nodiscard]] std::size_t syncCount() const;
    /// How often a file was written, truncated or synced: the points at which a machine may stop.
    [[nodiscard]] std::size_t changeCount() const;

    /// The disk is full (or has room again): writes answer SQLITE_FULL.
    void setFull(bool full);
    /// Reads answer SQLITE_IOERR_READ (or work again).
    void setReadsFailing(bool failing);
    /// Syncs answer SQLITE_IOERR_FSYNC (or work again).
    void setSyncsFailing(bool failing);
    /// The next write transaction on a write-ahead log cannot begin; the one after it can.
    void failNextBegin();
    /// The next sync fails; the one after it works.
    void failNextSync();
    /// After `count` more changes the process ends at once, as by a kill.
    void exitAfterChanges(std::size_t count);
};

}  // namespace quendokit::testing
