#ifndef LOG_KIT_RETIME_H
#define LOG_KIT_RETIME_H

#include <cstdint>

#include "log_kit/log_copy.h"

/// What becomes of the stamps of a log.
enum class eRetime
{
    Unwrap, // they go on through wraps and restarts of the counter
    Shift,  // all move by `shift`
    Start,  // all move by the same, so that the first one becomes `start`
};

/// Options of `log_kit retime`.
struct RetimeOptions
{
    CopyOptions files; // with Unwrap the input is read twice: it cannot be a pipe
    eRetime mode = eRetime::Unwrap;
    int64_t shift = 0; // ms
    uint32_t start = 0;
};

struct RetimeResult : CopyResult
{
    int64_t shift = 0;       // by which the first stamp moved, in ms
    uint64_t madeOne = 0;    // stamps that would have become 0 and became 1
    uint64_t strays = 0;     // records whose stamp was far off and became that of the one before
    bool hasNewWrap = false; // the counter wraps now where it did not before
};

/// A log with other time stamps. The stamps of a record move together, modulo 2^32; absent sections
/// stay absent. Nothing else changes.
///
/// Unwrap leaves the stamps before the first jump as they are if then all fit in 32 bits; if not,
/// the earliest one becomes 1000. Throws FileError like copyLog(), and when the times of a log do
/// not fit in 32 bits at all.
RetimeResult retime(RetimeOptions const& options, Progress& progress);

#endif
