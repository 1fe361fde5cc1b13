#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include <sys/file.h>

#include "adapters/files/file_operations_internal.hpp"

namespace quendokit::files {

int FileOperations::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

ssize_t FileOperations::read(int file, void* to, std::size_t size) {
    return ::read(file, to, size);
}

ssize_t FileOperations::write(int file, const void* from, std::size_t size) {
    return ::write(file, from, size);
}

int FileOperations::fstat(int file, struct stat* status) {
    return ::fstat(file, status);
}

int FileOperations::fchmod(int file, mode_t mode) {
    return ::fchmod(file, mode);
}

int FileOperations::fsync(int file) {
    return ::fsync(file);
}

int FileOperations::flock(int file, int operation) {
    return ::flock(file, operation);
}

int FileOperations::close(int file) {
    return ::close(file);
}

int FileOperations::lstat(const char* path, struct stat* status) {
    return ::lstat(path, status);
}

int FileOperations::mkdir(const char* path, mode_t mode) {
    return ::mkdir(path, mode);
}

int FileOperations::link(const char* from, const char* to) {
    return ::link(from, to);
}

int FileOperations::rename(const char* from, const char* to) {
    return ::rename(from, to);
}

int FileOperations::unlink(const char* path) {
    return ::unlink(path);
}

}  // namespace quendokit::files
