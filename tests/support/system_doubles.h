#ifndef TESTS_SYSTEM_DOUBLES_H
#define TESTS_SYSTEM_DOUBLES_H

// Stand-ins, by the linker's --wrap, for what a test must not touch (the machine's clock) or cannot
// bring about (exhausted memory, a terminal with parity). Each works while its object lives, one at
// a time.

#include <ctime>

#include <sys/time.h>
#include <termios.h>

/// The real-time clock shows what the test says. Setting it never reaches the machine's clock.
class FakeRealTime
{
public:
    explicit FakeRealTime(time_t sec, suseconds_t usec = 0);
    ~FakeRealTime();
    FakeRealTime(FakeRealTime const&) = delete;
    FakeRealTime& operator=(FakeRealTime const&) = delete;

    timeval now = {};
    unsigned reads = 0;
    int setResult = 0; // of settimeofday
};

/// 2021-03-04 09:05:07 UTC, for the times in log lines.
constexpr time_t LOG_TIME = 1614848707;

/// malloc and calloc fail.
class NoMemory
{
public:
    NoMemory();
    ~NoMemory();
    NoMemory(NoMemory const&) = delete;
    NoMemory& operator=(NoMemory const&) = delete;
};

/// A terminal with any settings, also those that a pseudo terminal refuses.
class FakeTerminal
{
public:
    FakeTerminal();
    ~FakeTerminal();
    FakeTerminal(FakeTerminal const&) = delete;
    FakeTerminal& operator=(FakeTerminal const&) = delete;

    termios settings = {};
    int action = -1;   // of the last tcsetattr
    int setResult = 0; // of tcsetattr
};

#endif
