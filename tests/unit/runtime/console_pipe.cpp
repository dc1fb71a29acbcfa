#include "console_pipe.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

#include "signals.h"

ConsolePipe::ConsolePipe(int flags) : m_terminal(dup(STDOUT_FILENO))
{
    int fds[2] = {-1, -1};

    fflush(stdout);
    if (pipe2(fds, flags) == -1 || fcntl(fds[1], F_SETPIPE_SZ, CAPACITY) != CAPACITY)
        abort();
    m_reader = fds[0];
    fcntl(m_reader, F_SETFL, O_NONBLOCK);
    dup2(fds[1], STDOUT_FILENO);
    close(fds[1]);
}

ConsolePipe::~ConsolePipe()
{
    dup2(m_terminal, STDOUT_FILENO);
    close(m_terminal);
    close(m_reader);
}

static char s_drained[32768];
static volatile size_t s_drainedSize = 0;
static volatile sig_atomic_t s_alarms = 0;
static volatile int s_reader = -1;

static void drain()
{
    ssize_t const got = read(s_reader, s_drained + s_drainedSize, sizeof s_drained - s_drainedSize);
    if (got > 0)
        s_drainedSize = s_drainedSize + static_cast<size_t>(got);
}

std::string outputOnFullConsole(std::function<void()> const& action)
{
    std::string const filling(ConsolePipe::CAPACITY, '#');
    {
        ScopedSignals const signals;
        ConsolePipe const console;
        s_drainedSize = 0;
        s_alarms = 0;
        s_reader = console.reader();
        if (write(STDOUT_FILENO, filling.data(), filling.size()) != ConsolePipe::CAPACITY)
            abort();
        ScopedSignals::handle(SIGALRM, [](int) {
            s_alarms = s_alarms + 1;
            if (s_alarms > 2)
                drain();
        });
        ScopedSignals::alarmEvery(2);
        action();
        ScopedSignals::alarmEvery(0);
        drain();
    }
    return std::string(s_drained, s_drainedSize).substr(filling.size());
}
