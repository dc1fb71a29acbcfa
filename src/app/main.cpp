#include <csignal>
#include <cstdio>
#include <memory>

#include <netinet/in.h>

#include "command_line.h"
#include "fdloop.h"
#include "log_tool.h"
#include "tt_panic.h"

static std::unique_ptr<LogTool> s_logTool; // for the signal handler; lives until the process exits

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
