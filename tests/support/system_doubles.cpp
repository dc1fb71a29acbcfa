#include "system_doubles.h"

#include <csignal>
#include <cstdlib>

static FakeRealTime* s_realTime = nullptr;
static bool s_noMemory = false;
static FakeTerminal* s_terminal = nullptr;

FakeRealTime::FakeRealTime(time_t sec, suseconds_t usec)
{
    now.tv_sec = sec;
    now.tv_usec = usec;
    s_realTime = this;
}

FakeRealTime::~FakeRealTime()
{
    s_realTime = nullptr;
}

NoMemory::NoMemory()
{
#ifdef LOG_TOOL_COVERAGE
    signal(SIGABRT, SIG_DFL); // keeping the coverage of a child that aborts takes memory
#endif
    s_noMemory = true;
}

NoMemory::~NoMemory()
{
    s_noMemory = false;
}

FakeTerminal::FakeTerminal()
{
    s_terminal = this;
}

FakeTerminal::~FakeTerminal()
{
    s_terminal = nullptr;
}

// The names are the linker's. A time_t of 64 bits on a 32-bit machine comes with functions of other
// names.
#if defined __USE_TIME_BITS64 && __TIMESIZE == 32
#define __real_gettimeofday __real___gettimeofday64
#define __wrap_gettimeofday __wrap___gettimeofday64
#define __wrap_settimeofday __wrap___settimeofday64
#endif

extern "C" {
int __real_gettimeofday(timeval* now, void* zone);
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
int __real_tcgetattr(int fd, termios* settings);
int __real_tcsetattr(int fd, int action, termios const* settings);

int __wrap_gettimeofday(timeval* now, void* zone);
int __wrap_settimeofday(timeval const* now, void const* zone);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
int __wrap_tcgetattr(int fd, termios* settings);
int __wrap_tcsetattr(int fd, int action, termios const* settings);

int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!s_realTime)
        return __real_gettimeofday(now, zone);
    ++s_realTime->reads;
    *now = s_realTime->now;
    return 0;
}

int __wrap_settimeofday(timeval const* now, void const* /*zone*/)
{
    if (!s_realTime)
        abort();
    s_realTime->now = *now;
    return s_realTime->setResult;
}

void* __wrap_malloc(size_t size)
{
    return s_noMemory ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(size_t count, size_t size)
{
    return s_noMemory ? nullptr : __real_calloc(count, size);
}

int __wrap_tcgetattr(int fd, termios* settings)
{
    if (!s_terminal)
        return __real_tcgetattr(fd, settings);
    *settings = s_terminal->settings;
    return 0;
}

int __wrap_tcsetattr(int fd, int action, termios const* settings)
{
    if (!s_terminal)
        return __real_tcsetattr(fd, action, settings);
    s_terminal->action = action;
    s_terminal->settings = *settings;
    return s_terminal->setResult;
}
}
