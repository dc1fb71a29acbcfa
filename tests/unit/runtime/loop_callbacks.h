#ifndef TESTS_RUNTIME_LOOP_CALLBACKS_H
#define TESTS_RUNTIME_LOOP_CALLBACKS_H

#include <functional>

#include "fdloop.h"

/// A descriptor callback with a state: registered as `FdAction::call` with the object as its data.
struct FdAction
{
    std::function<int(int)> action;
    unsigned calls = 0;

    static int call(int fd, void* data)
    {
        auto& self = *static_cast<FdAction*>(data);
        ++self.calls;
        return self.action ? self.action(fd) : 0;
    }
};

/// A descriptor callback that does nothing.
inline fdloop_fd_func const IGNORE_FD = [](int, void*) { return 0; };

/// A timer or an idler that counts its calls in the int that is its data.
inline int countCall(void* data)
{
    ++*static_cast<int*>(data);
    return 0;
}

#endif
