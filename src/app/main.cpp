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

// Out of memory: what has been recorded so far must not go with the process.
static void onTerminate()
{
    fflush(nullptr);
    s_terminate();
}

// Runs only where the loop lets it in, so it interrupts no allocation, no output, no list work.
static void onInterrupt(int sig)
{
    puts("\nCTRL-C Pressed");
    signal(sig, SIG_IGN);
    s_logTool->m_stop = true;
    s_logTool->m_udpCon->close();
}

static void blockSignal(int sig)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, sig);
    sigprocmask(SIG_BLOCK, &set, nullptr);
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

    // Held back from here on until the loop lets it in: the handler needs s_logTool.
    blockSignal(SIGINT);
    signal(SIGINT, onInterrupt);
    static _fdloop_t* const loop = fdloop_init(); // lives as long as the process
    if (!loop)
        tt_assert_failed("main", 86);
    fdloop_signal_in_wait(loop, SIGINT);

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
