#ifndef RUNTIME_FDLOOP_HANDLE_H
#define RUNTIME_FDLOOP_HANDLE_H

// What is inside the loop handle. Only for the loop's own sources and their tests.

#include <cstdint>

#include <sys/select.h>

#include "fdloop.h"

enum : uint8_t
{
    FDLOOP_READ = 0,
    FDLOOP_WRITE = 1,
    FDLOOP_EXCEPT = 2,
    FDLOOP_DIRECTIONS = 3
};

struct _fdloop_fd_t
{
    _fdloop_fd_t* next;
    uint8_t dir;
    uint8_t enabled;
    uint8_t deleted;
    int16_t fd;
    fdloop_fd_func func;
    void* data;
};

struct _fdloop_idler_t
{
    _fdloop_idler_t* next;
    fdloop_idler_func func;
    void* data;
};

struct _fdloop_timer_t
{
    uint32_t interval;
    uint32_t expire;
    _fdloop_timer_t* next;
    fdloop_timer_func func;
    void* data;
    uint8_t deleted;
};

struct _fdloop_t
{
    int32_t fd_count;
    int32_t fd_dir_count[FDLOOP_DIRECTIONS];
    fd_set fd_sets[FDLOOP_DIRECTIONS];
    _fdloop_fd_t* fd_head; // in registration order
    _fdloop_fd_t* fd_tail;
    _fdloop_timer_t* timer_head; // sorted by expiry
    _fdloop_timer_t* timer_new;  // added while the timers run, latest first
    _fdloop_idler_t* idler_head;
    _fdloop_idler_t* idler_tail;
    uint32_t now_ms; // start of the current pass
    uint8_t fd_busy;
    uint8_t fd_dirty;
    uint8_t timer_busy;
    uint8_t timer_dirty;
    uint8_t debug;
};

#endif
