#include <cerrno>
#include <system_error>
#include <utility>

#include "adapters/files/files_error_internal.hpp"

namespace quendokit::files {

Error makeFilesError(FileUserDefaultsErrorCode code, std::string description) {
    return {std::string(fileUserDefaultsErrorDomain), static_cast<int>(code), std::move(description)};
}

Error systemError(int number, const std::string& path) {
    const std::string what = path + ": " + std::generic_category().message(number);
    switch (number) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return makeFilesError(FileUserDefaultsErrorCode::full, what + "; make room");
        case EACCES:
        case EPERM:
        case EROFS:
            return makeFilesError(FileUserDefaultsErrorCode::notPermitted,
                                  what + "; make the file and its folder readable and writable for you");
        case ELOOP:
            return makeFilesError(FileUserDefaultsErrorCode::notPermitted,
                                  path + ": this is a symbolic link; put the file itself there");
        case ENOTDIR:
        case EISDIR:
            return makeFilesError(FileUserDefaultsErrorCode::notPermitted,
                                  what + "; the settings need a file in a folder there");
        default:
            return makeFilesError(FileUserDefaultsErrorCode::unavailable, what + "; check the disk and its mount");
    }
}

}  // namespace quendokit::files
