#pragma once
/// \file
/// `FullDisk`, as long as which no file grows.

#include <csignal>

#include <sys/resource.h>

namespace quendokit::testing {

/// Files of this process cannot grow beyond `size` bytes while it lives. Files that are there stay readable.
class FullDisk {
public:
    explicit FullDisk(rlim_t size = 1) {
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limit{size, old_.rlim_max};
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit old_{};
    void (*handler_)(int) = SIG_DFL;
};

}  // namespace quendokit::testing
