#include <cerrno>
#include <sqlite3.h>
#include <system_error>

#include "adapters/sqlite/sqlite_error_internal.hpp"

namespace quendokit::sqlite {
namespace {

Error lockedError(const std::string& file) {
    return makeRealmError(RealmErrorCode::locked, file + ": another program is writing; try again when it is done");
}

Error fullError(const std::string& file) {
    return makeRealmError(RealmErrorCode::full,
                          file + ": the disk is full; nothing was changed, make room and try again");
}

Error notPermittedError(const std::string& file, const std::string& why) {
    return makeRealmError(RealmErrorCode::notPermitted,
                          file + ": " + why + "; make the file and its folder writable for you");
}

}  // namespace

Error damagedError(const std::string& file, const std::string& what) {
    return makeRealmError(RealmErrorCode::damaged,
                          file + ": the database is damaged (" + what + "); move it aside and restore a copy");
}

Error notFiniteError(const std::string& file) {
    return makeRealmError(RealmErrorCode::invalidValue, file + ": the date is not finite; nothing was changed");
}

Error systemError(int number, const std::string& file) {
    const std::string why = std::generic_category().message(number);
    switch (number) {
        case EACCES:
        case EPERM:
        case EROFS:
            return notPermittedError(file, why);
        case ENOSPC:
        case EDQUOT:
            return fullError(file);
        default:
            return makeRealmError(RealmErrorCode::unavailable, file + ": " + why + "; check the folder and the disk");
    }
}

Error errorOf(sqlite3* database, int code, const std::string& file) {
    const std::string why = sqlite3_errstr(code);
    switch (code & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return lockedError(file);
        case SQLITE_FULL:
            return fullError(file);
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_MISMATCH:
        case SQLITE_FORMAT:
            return damagedError(file, why);
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return notPermittedError(file, why);
        case SQLITE_CANTOPEN:
        case SQLITE_IOERR:
            if (const int number = database != nullptr ? sqlite3_system_errno(database) : 0; number != 0) {
                return systemError(number, file);
            }
            break;
        case SQLITE_CONSTRAINT:
        case SQLITE_TOOBIG:
            return makeRealmError(RealmErrorCode::invalidValue,
                                  file + ": the value cannot be stored (" +
                                      (database != nullptr ? sqlite3_errmsg(database) : why) +
                                      "); nothing was changed");
        case SQLITE_ERROR:
            // Our own statements are right: the file's tables are not what they were prepared for.
            return damagedError(file, database != nullptr ? sqlite3_errmsg(database) : why);
        default:
            break;
    }
    return makeRealmError(RealmErrorCode::unavailable, file + ": " + why + "; check the folder and the disk");
}

}  // namespace quendokit::sqlite
