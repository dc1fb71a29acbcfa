#ifndef TESTS_APP_STEPPED_CLOCK_H
#define TESTS_APP_STEPPED_CLOCK_H

#include <cstdint>

#include "fdloop.h"

/// While it lives, the monotonic milliseconds stand still between its steps. Programs with it are
/// linked with --wrap=_Z10tt_time_msv and --wrap=_Z18tt_time_ms_elapsedj.
class SteppedClock
{
public:
    explicit SteppedClock(uint32_t now);
    ~SteppedClock();
    SteppedClock(SteppedClock const&) = delete;
    SteppedClock& operator=(SteppedClock const&) = delete;

    /// Steps on, and runs the timers that have become due.
    void advance(_fdloop_t* loop, uint32_t ms);
};

#endif
