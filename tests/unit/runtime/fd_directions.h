#ifndef TESTS_RUNTIME_FD_DIRECTIONS_H
#define TESTS_RUNTIME_FD_DIRECTIONS_H

#include <cstdint>

#include "fdloop.h"
#include "fdloop_handle.h"

/// How to watch a descriptor, and to stop that.
struct Direction
{
    char const* name;
    uint8_t dir;
    _fdloop_fd_t* (*add)(_fdloop_t*, int, fdloop_fd_func, void*);
    void (*remove)(_fdloop_t*, int);
};

inline constexpr Direction DIRECTIONS[] = {
    {"read", 0, fdloop_fd_register, fdloop_fd_unregister},
    {"write", 1, fdloop_fd_register_write, fdloop_fd_unregister_write},
    {"except", 2, fdloop_fd_register_except, fdloop_fd_unregister_except},
};

#endif
