#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>

#include <fcntl.h>
#include <netinet/in.h>
#include <unistd.h>

#include "command_line.h"
#include "fdloop.h"
#include "log_tool.h"
#include "tt_panic.h"

static constexpr int END_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

static std::unique_ptr<LogTool> s_logTool; // for the signal handler; lives until the process exits
static std::terminate_handler s_terminate; // the C++ library's own

// The log and the socket take the lowest free descriptors. In the place of a closed standard one
// the log would get what is printed, and descriptor 0 counts as no socket.
static void openStandardDescriptors()
{
    for (int const fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) == -1)
            open("/dev/null", O_RDWR);
    }
}

// Nobody catches exceptions: what has been recorded so far must not go with the process.
static void onTerminate()
{
    fflush(nullptr);
    s_terminate();
}

static void holdBackEndSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (int const sig : END_SIGNALS)
        sigaddset(&set, sig);
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

// Runs only where the loop lets it in, and alone, so it interrupts no allocation, no output, no
// list work.
static void onInterrupt(int sig)
{
    holdBackEndSignals(); // a different one would still come into the middle of this one
    if (sig == SIGINT)
        puts("\nCTRL-C Pressed");
    signal(sig, SIG_IGN);
    s_logTool->m_stop = true;
    s_logTool->m_udpCon->close();
}

static void installSignalHandlers()
{
    holdBackEndSignals(); // until the loop lets them in: the handler needs s_logTool
    signal(SIGINT, onInterrupt);
    // The machine goes down, or the terminal is gone: the log is to be whole then as well.
    signal(SIGTERM, onInterrupt);
    if (signal(SIGHUP, onInterrupt) == SIG_IGN)
        signal(SIGHUP, SIG_IGN); // nohup
    signal(SIGPIPE, SIG_IGN);    // a recording goes on when nobody reads its output any more
}

int main(int argc, char** argv)
{
    openStandardDescriptors();
    s_terminate = std::set_terminate(onTerminate);
    // Whole lines, as they are printed, also into a pipe or a journal.
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);

    auto device = std::make_shared<sockaddr_in>();
    device->sin_family = AF_INET;
    CommandLine line;
    parseCommandLine(argc, argv, line, *device);

    installSignalHandlers();
    static _fdloop_t* const loop = fdloop_init(); // lives as long as the process
    if (!loop)
        tt_assert_failed("main", 86);
    for (int const sig : END_SIGNALS)
        fdloop_signal_in_wait(loop, sig);

    s_logTool = std::make_unique<LogTool>(loop, line.fileName, device);
    if (line.replay)
        s_logTool->play();
    else
        s_logTool->record();

    while (!s_logTool->m_stop && s_logTool->m_mode) {
        if (fdloop_run(loop) != 0)
            break;
    }

    device.reset();
    return 0;
}
