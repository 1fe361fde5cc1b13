#include "tests/support/shim_file_system.hpp"

#include <cstring>
#include <limits>
#include <sqlite3.h>
#include <unistd.h>
#include <utility>

namespace quendokit::testing {
namespace {

struct State {
    std::size_t syncs = 0;
    std::size_t changes = 0;
    std::size_t changesUntilExit = std::numeric_limits<std::size_t>::max();
    bool full = false;
    bool readsFailing = false;
    bool syncsFailing = false;
    bool nextSyncFails = false;
    bool nextBeginFails = false;
};

State state;
sqlite3_vfs shim;
sqlite3_vfs* real = nullptr;

/// A file of ours; the real one lies right behind it.
struct File {
    sqlite3_file base;
    sqlite3_file* behind() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* behind(sqlite3_file* file) {
    return reinterpret_cast<File*>(file)->behind();
}

void countChange() {
    if (state.changesUntilExit == 0) {
        _exit(137);
    }
    --state.changesUntilExit;
    ++state.changes;
}

int closeFile(sqlite3_file* file) {
    return behind(file)->pMethods->xClose(behind(file));
}
int readFile(sqlite3_file* file, void* to, int amount, sqlite3_int64 offset) {
    if (state.readsFailing) {
        return SQLITE_IOERR_READ;
    }
    return behind(file)->pMethods->xRead(behind(file), to, amount, offset);
}
int writeFile(sqlite3_file* file, const void* from, int amount, sqlite3_int64 offset) {
    countChange();
    return state.full ? SQLITE_FULL : behind(file)->pMethods->xWrite(behind(file), from, amount, offset);
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    countChange();
    return behind(file)->pMethods->xTruncate(behind(file), size);
}
int syncFile(sqlite3_file* file, int flags) {
    countChange();
    ++state.syncs;
    if (std::exchange(state.nextSyncFails, false)) {
        return SQLITE_IOERR_FSYNC;
    }
    return state.syncsFailing ? SQLITE_IOERR_FSYNC : behind(file)->pMethods->xSync(behind(file), flags);
}
int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    return behind(file)->pMethods->xFileSize(behind(file), size);
}
int lockFile(sqlite3_file* file, int level) {
    return behind(file)->pMethods->xLock(behind(file), level);
}
int unlockFile(sqlite3_file* file, int level) {
    return behind(file)->pMethods->xUnlock(behind(file), level);
}
int checkReservedLock(sqlite3_file* file, int* held) {
    return behind(file)->pMethods->xCheckReservedLock(behind(file), held);
}
int fileControl(sqlite3_file* file, int operation, void* argument) {
    return behind(file)->pMethods->xFileControl(behind(file), operation, argument);
}
int sectorSize(sqlite3_file* file) {
    return behind(file)->pMethods->xSectorSize(behind(file));
}
int deviceCharacteristics(sqlite3_file* file) {
    return behind(file)->pMethods->xDeviceCharacteristics(behind(file));
}
int shmMap(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
    return behind(file)->pMethods->xShmMap(behind(file), region, size, extend, memory);
}
int shmLock(sqlite3_file* file, int offset, int count, int flags) {
    // The first lock of the log is the one that its only writer holds.
    const bool begins = offset == 0 && flags == (SQLITE_SHM_LOCK | SQLITE_SHM_EXCLUSIVE);
    if (begins && std::exchange(state.nextBeginFails, false)) {
        return SQLITE_BUSY;
    }
    return behind(file)->pMethods->xShmLock(behind(file), offset, count, flags);
}
void shmBarrier(sqlite3_file* file) {
    behind(file)->pMethods->xShmBarrier(behind(file));
}
int shmUnmap(sqlite3_file* file, int remove) {
    return behind(file)->pMethods->xShmUnmap(behind(file), remove);
}

const sqlite3_io_methods methods = {
    2,          closeFile,         readFile,    writeFile,  truncateFile,          syncFile, fileSize, lockFile,
    unlockFile, checkReservedLock, fileControl, sectorSize, deviceCharacteristics, shmMap,   shmLock,  shmBarrier,
    shmUnmap,   nullptr,           nullptr,
};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    const int result = real->xOpen(real, name, behind(file), flags, outFlags);
    file->pMethods = behind(file)->pMethods != nullptr ? &methods : nullptr;
    return result;
}

}  // namespace

ShimFileSystem::ShimFileSystem() {
    state = State();
    real = sqlite3_vfs_find(nullptr);
    std::memcpy(&shim, real, sizeof(shim));
    shim.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
    shim.zName = "shim";
    shim.xOpen = openFile;
    shim.pNext = nullptr;
    sqlite3_vfs_register(&shim, 0);
}

ShimFileSystem::~ShimFileSystem() {
    sqlite3_vfs_unregister(&shim);
}

std::size_t ShimFileSystem::syncCount() const {
    return state.syncs;
}

std::size_t ShimFileSystem::changeCount() const {
    return state.changes;
}

void ShimFileSystem::setFull(bool full) {
    state.full = full;
}

void ShimFileSystem::setReadsFailing(bool failing) {
    state.readsFailing = failing;
}

void ShimFileSystem::setSyncsFailing(bool failing) {
    state.syncsFailing = failing;
}

void ShimFileSystem::failNextBegin() {
    state.nextBeginFails = true;
}

void ShimFileSystem::failNextSync() {
    state.nextSyncFails = true;
}

void ShimFileSystem::exitAfterChanges(std::size_t count) {
    state.changesUntilExit = count;
}

}  // namespace quendokit::testing
