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
#include "tt_interrupt.h"
#include "tt_outlet.h"
#include "tt_panic.h"

static constexpr unsigned TERMINATE_AFTER_MS = 200;

static std::unique_ptr<LogTool> s_logTool; // lives until the process exits
static std::terminate_handler s_terminate; // the C++ library's own

// If a standard descriptor is closed, the log could get its number and receive our output. And a
// socket with number 0 would count as closed.
static void openStandardDescriptors()
{
    for (int const fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) == -1)
            open("/dev/null", O_RDWR);
    }
}

// Nobody catches exceptions. What has been recorded so far must not be lost with the process.
static void onTerminate()
{
    fflush(nullptr);
    tt_outlet_finish();
    tt_unblock_start(
        TERMINATE_AFTER_MS); // the library writes to standard error, which may be stuck
    s_terminate();
}

static void catchSignals()
{
    tt_interrupt_catch(SIGINT);
    tt_interrupt_catch(SIGTERM); // the machine goes down
    // The terminal is gone. Under nohup the signal is ignored, and must stay so.
    struct sigaction hangup = {};
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN)
        tt_interrupt_catch(SIGHUP);
    // A program must not end because nobody reads its output any more, nor stop because it runs in
    // the background and writes to the terminal.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGTTOU, SIG_IGN);
}

// Called by the main loop after the signal, not by its handler, so nothing is half done.
static void onInterrupt(int sig)
{
    s_logTool->m_udpCon->rxDataReady(); // what arrived before the signal belongs to the run
    if (sig == SIGINT)
        puts("\nCTRL-C Pressed");
    signal(sig, SIG_IGN);
    s_logTool->m_stop = true;
    s_logTool->m_udpCon->close();
}

int main(int argc, char** argv)
{
    openStandardDescriptors();
    s_terminate = std::set_terminate(onTerminate);

    auto device = std::make_shared<sockaddr_in>();
    device->sin_family = AF_INET;
    CommandLine line;
    parseCommandLine(argc, argv, line, *device);

    // From here on nobody who reads our output can hold up the run, and no signal can cut it off.
    tt_outlet_open();
    catchSignals();

    static _fdloop_t* const loop = fdloop_init(); // lives as long as the process
    if (!loop)
        tt_assert_failed("main", 86);

    s_logTool = std::make_unique<LogTool>(loop, line.fileName, device);
    if (line.replay)
        s_logTool->play();
    else
        s_logTool->record();

    while (!s_logTool->m_stop && s_logTool->m_mode) {
        if (int const sig = tt_interrupted())
            onInterrupt(sig);
        else if (fdloop_run(loop) != 0)
            break;
    }

    device.reset();
    tt_outlet_finish();
    return 0;
}
