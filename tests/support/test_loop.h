#ifndef TESTS_TEST_LOOP_H
#define TESTS_TEST_LOOP_H

#include <functional>

#include "fdloop.h"

/// The one loop of this program: nothing frees a loop.
inline _fdloop_t* testLoop()
{
    static _fdloop_t* const s_loop = fdloop_init();
    return s_loop;
}

/// Runs passes until `condition` holds; false when that does not happen in a long time.
inline bool runUntil(std::function<bool()> const& condition)
{
    static constexpr unsigned TICK_MS = 50;
    static constexpr unsigned MAX_TICKS = 20000 / TICK_MS;

    // Without it a pass could wait forever, or long after its timers have met the condition.
    unsigned ticks = 0;
    _fdloop_timer_t* const ticker = fdloop_timer_add(
        testLoop(), TICK_MS,
        [](void* data) {
            ++*static_cast<unsigned*>(data);
            return 1;
        },
        &ticks);
    bool holds = condition();
    while (!holds && ticks < MAX_TICKS) {
        fdloop_run(testLoop());
        holds = condition();
    }
    fdloop_timer_del(testLoop(), ticker);
    return holds;
}

/// Runs passes until there is something to read from the descriptor.
inline bool runUntilReadable(int fd)
{
    bool readable = false;
    fdloop_fd_register(
        testLoop(), fd,
        [](int, void* data) {
            *static_cast<bool*>(data) = true;
            return 0;
        },
        &readable);
    bool const inTime = runUntil([&readable] { return readable; });
    fdloop_fd_unregister(testLoop(), fd);
    return inTime;
}

#endif
