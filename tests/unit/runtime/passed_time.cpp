#include "passed_time.h"

static uint32_t s_passedMs = 0;

PassedTime::PassedTime(uint32_t ms)
{
    s_passedMs = ms;
}

PassedTime::~PassedTime()
{
    s_passedMs = 0;
}

// The names are the linker's, around the compiler's name of tt_time_ms_elapsed(uint32_t).
extern "C" {
uint32_t __real__Z18tt_time_ms_elapsedj(uint32_t start);
uint32_t __wrap__Z18tt_time_ms_elapsedj(uint32_t start);

uint32_t __wrap__Z18tt_time_ms_elapsedj(uint32_t start)
{
    return s_passedMs + __real__Z18tt_time_ms_elapsedj(start);
}
}
