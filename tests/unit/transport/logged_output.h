#ifndef TESTS_LOGGED_OUTPUT_H
#define TESTS_LOGGED_OUTPUT_H

#include <string>

#include <fcntl.h>

#include "captured_output.h"
#include "system_doubles.h"

inline bool isDescriptor(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

/// Runs `action` and gives back what it prints, with log lines at 09:05:07.
template <class Action>
std::string loggedBy(Action const& action)
{
    FakeRealTime const clock(LOG_TIME);
    return capturedOutput(action);
}

#endif
