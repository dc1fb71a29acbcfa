#ifndef TESTS_PASSED_TIME_H
#define TESTS_PASSED_TIME_H

#include <cstdint>

/// While it lives, tt_time_ms_elapsed reports that much more time. Programs with it are linked with
/// --wrap=_Z18tt_time_ms_elapsedj.
class PassedTime
{
public:
    explicit PassedTime(uint32_t ms);
    ~PassedTime();
    PassedTime(PassedTime const&) = delete;
    PassedTime& operator=(PassedTime const&) = delete;
};

#endif
