#pragma once
/// \file
/// Running a piece of a test in a process of its own.

#include <functional>
#include <grp.h>
#include <unistd.h>

#include <sys/types.h>
#include <sys/wait.h>

namespace quendokit::testing {

/// The user and group that own nothing.
inline constexpr uid_t nobody = 65534;

/// Runs `work` in a copy of this process and answers what it returns, or 128 and the signal that ended it. `work` must
/// not use GoogleTest's assertions: their results stay in the copy.
inline int runInChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// `runInChild` without root's power over permissions.
inline int runAsOrdinaryUser(const std::function<int()>& work) {
    return runInChild([&] {
        if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setresgid(nobody, nobody, nobody) != 0 ||
                               setresuid(nobody, nobody, nobody) != 0)) {
            return 99;
        }
        return work();
    });
}

}  // namespace quendokit::testing
