#include "child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef LOG_TOOL_COVERAGE
extern "C" { // the header is for C alone
#include <gcov.h>
}
#endif

static constexpr unsigned CHILD_TIMEOUT_S = 30;

int ChildResult::exitCode() const
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ChildResult::signal() const
{
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

// A child ends by abort or _exit, so the exit handlers that save its coverage do not run.
static void keepCoverageAtAbort()
{
#ifdef LOG_TOOL_COVERAGE
    signal(SIGABRT, [](int) { __gcov_dump(); });
#endif
}

static void keepCoverage()
{
#ifdef LOG_TOOL_COVERAGE
    __gcov_dump();
#endif
}

[[noreturn]] static void runAndExit(std::function<void()> const& action, FILE* output)
{
    rlimit const noCore = {};

    if (dup2(fileno(output), STDOUT_FILENO) == -1)
        abort();
    setvbuf(stdout, nullptr, _IONBF, 0); // in order with what goes past the stream
    setrlimit(RLIMIT_CORE, &noCore);
    alarm(CHILD_TIMEOUT_S);
    keepCoverageAtAbort();
    action();
    fflush(stdout);
    keepCoverage();
    _exit(0);
}

ChildResult runInChild(std::function<void()> const& action)
{
    FILE* const output = tmpfile();
    ChildResult result = {};

    fflush(stdout);
    pid_t const child = fork();
    if (!output || child == -1)
        abort();
    if (child == 0)
        runAndExit(action, output);
    while (waitpid(child, &result.status, 0) == -1 && errno == EINTR) {
    }

    rewind(output);
    for (int c = fgetc(output); c != EOF; c = fgetc(output))
        result.output += static_cast<char>(c);
    fclose(output);
    return result;
}

static void waitUntilAsleep(pid_t process)
{
    std::string const path = "/proc/" + std::to_string(process) + "/stat";
    for (char state = 'R'; state != 'S';) {
        FILE* const stat = fopen(path.c_str(), "r");
        if (!stat || fscanf(stat, "%*d %*s %c", &state) != 1)
            abort();
        fclose(stat);
    }
}

void onceAsleep(std::function<void(pid_t)> const& action)
{
    pid_t const sleeper = getpid();
    if (fork() != 0)
        return;
    waitUntilAsleep(sleeper);
    action(sleeper);
    _exit(0);
}
