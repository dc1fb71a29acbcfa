#include "stepped_clock.h"

#include <cstdlib>

static bool s_isStepped = false;
static uint32_t s_now = 0;

SteppedClock::SteppedClock(uint32_t now)
{
    if (s_isStepped)
        abort();
    s_isStepped = true;
    s_now = now;
}

SteppedClock::~SteppedClock()
{
    s_isStepped = false;
}

void SteppedClock::advance(_fdloop_t* loop, uint32_t ms)
{
    s_now += ms;
    fdloop_timers_run(loop, s_now);
}

// The names are the linker's, around the compiler's names of tt_time_ms() and
// tt_time_ms_elapsed(uint32_t).
extern "C" {
uint32_t __real__Z10tt_time_msv();
uint32_t __wrap__Z10tt_time_msv();
uint32_t __wrap__Z18tt_time_ms_elapsedj(uint32_t start);

uint32_t __wrap__Z10tt_time_msv()
{
    return s_isStepped ? s_now : __real__Z10tt_time_msv();
}

uint32_t __wrap__Z18tt_time_ms_elapsedj(uint32_t start)
{
    return __wrap__Z10tt_time_msv() - start;
}
}
