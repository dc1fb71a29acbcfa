#ifndef LOG_KIT_TIME_SHIFT_H
#define LOG_KIT_TIME_SHIFT_H

#include <cstdint>
#include <string>

#include "log_kit/progress.h"

/// What tells how far apart two logs are.
enum class eShiftSource
{
    Given,   // the user
    Content, // records that differ in their stamps alone
    Utc,     // their UTC, to about a sample
    Overlap, // nothing: their times overlap, and are taken as they are
    Start,   // nothing: they are taken to begin together
};

struct TimeShift
{
    int64_t ms;
    eShiftSource source;
};

/// How much later, on its time line, the second log has the same records. Reads both logs. Throws
/// FileError.
TimeShift findTimeShift(std::string const& a, std::string const& b, Progress& progress);

#endif
