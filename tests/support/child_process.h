#ifndef TESTS_CHILD_PROCESS_H
#define TESTS_CHILD_PROCESS_H

#include <functional>
#include <string>

#include <sys/types.h>

struct ChildResult
{
    std::string output; // descriptor 1 and the C stream alike, in order
    int status;         // as waitpid gives it

    /// The status of an ordinary exit, else -1.
    int exitCode() const;

    /// The signal that ended the child, else 0.
    int signal() const;
};

/// Runs `action` in a child process, for actions that end the process or change it for good. A
/// child whose action returns exits with 0. One that hangs is ended by SIGALRM.
ChildResult runInChild(std::function<void()> const& action);

/// Runs `action` in a child process as soon as this process sleeps in a system call. `action` gets
/// the id of this process.
void onceAsleep(std::function<void(pid_t)> const& action);

#endif
