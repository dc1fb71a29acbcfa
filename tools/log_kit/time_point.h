#ifndef LOG_KIT_TIME_POINT_H
#define LOG_KIT_TIME_POINT_H

#include <cstdint>
#include <optional>
#include <string>

#include "log_kit/utc_clock.h"

/// A moment of a log as a user writes it.
struct TimePoint
{
    enum class eKind
    {
        Ticks,  // 123456
        Offset, // from the first record: +12:00, +1:12:00, +90s, +1.5min, +2h, +90 (s)
        Utc,    // 2026-11-20T09:31:00Z
    };

    eKind kind = eKind::Ticks;
    int64_t value = 0; // ticks, or ms from the start, or ms since 1970
};

/// Throws std::invalid_argument, with a text for the user, when it is none.
TimePoint parseTimePoint(std::string const& text);

/// A duration such as 90, 90s, 1.5min, 2h, 250ms or 12:00, in ms. Throws like parseTimePoint().
int64_t parseDuration(std::string const& text);

/// The moment on the time line of a log whose first record is at `first`. Ticks below those of the
/// first record mean the next round of the counter, if that begins within half a round; else a
/// moment before the log. Nothing for UTC when the clock is not set.
std::optional<int64_t> resolve(TimePoint const& point, int64_t first, UtcClock const& clock);

#endif
