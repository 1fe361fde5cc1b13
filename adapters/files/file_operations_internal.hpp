#pragma once
/// \file
/// `FileOperations`, the system calls by which settings reach the disk.

#include <cstddef>

#include <sys/stat.h>
#include <sys/types.h>

namespace quendokit::files {

/// Each function is the system call of its name: it answers -1 and sets `errno` when it fails. A test puts a class of
/// its own in the place of this one and lets each call fail in turn. Any thread.
class FileOperations {
public:
    FileOperations() = default;
    FileOperations(const FileOperations&) = delete;
    FileOperations& operator=(const FileOperations&) = delete;
    virtual ~FileOperations() = default;

    virtual int open(const char* path, int flags, mode_t mode);
    virtual ssize_t read(int file, void* to, std::size_t size);
    virtual ssize_t write(int file, const void* from, std::size_t size);
    virtual int fstat(int file, struct stat* status);
    virtual int fchmod(int file, mode_t mode);
    virtual int fsync(int file);
    virtual int flock(int file, int operation);
    virtual int close(int file);
    virtual int lstat(const char* path, struct stat* status);
    virtual int mkdir(const char* path, mode_t mode);
    virtual int link(const char* from, const char* to);
    virtual int rename(const char* from, const char* to);
    virtual int unlink(const char* path);
};

}  // namespace quendokit::files
