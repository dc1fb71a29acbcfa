#ifndef LOG_KIT_TIME_LINE_H
#define LOG_KIT_TIME_LINE_H

#include <algorithm>
#include <cstdint>
#include <optional>

#include "log_frames/frame.h"

/// What the device's counter did between a record and the one before it.
enum class eJump
{
    Wrap,    // it went past 2^32 - 1
    Back,    // the record is a little earlier: out of order
    Restart, // it began again
};

struct Jump
{
    eJump kind;
    uint32_t from; // ticks of the record before
    uint32_t to;   // ticks of this record
};

/// Turns the 32-bit time stamps of a log, in the order of the file, into milliseconds that go on
/// through wraps and restarts of the device's counter. The first record is at its own ticks.
///
/// - The counter goes on after a wrap: the stamp after 2^32 - 1 is at 2^32. A stamp that would mean
///   a silence of more than WRAP_LIMIT across the wrap is a restart instead.
/// - A record that goes back by at most BACK_LIMIT is out of order and gets the earlier time.
/// - Any other stamp that goes back is a restart. How long that took is unknown and counts as
///   nothing: its record gets the latest time so far.
/// - When a single stamp is far off (a flipped bit), the next record continues the times from
///   before it.
class TimeLine
{
public:
    static constexpr int64_t BACK_LIMIT = 2000;                    // ms
    static constexpr int64_t WRAP_LIMIT = int64_t{10} * 60 * 1000; // ms

    /// The record's time. A GnssData without sections has no stamp: it gets the time of the record
    /// before it.
    int64_t add(Frame frame)
    {
        uint32_t const ticks = frame.ticks();
        if (ticks == 0 && frame.holds<GnssData>()) {
            m_hasJumped = m_hasReturned = false;
            return m_time;
        }
        return add(ticks);
    }

    int64_t add(uint32_t ticks)
    {
        int64_t const step = int64_t{ticks} - int64_t{m_ticks};
        if (step < 0 || step > ORDINARY_STEP || m_isAfterLeap || !m_hasStarted)
            return addUnusual(ticks);
        m_hasJumped = m_hasReturned = false;
        m_ticks = ticks;
        m_time += step;
        m_latest = std::max(m_latest, m_time);
        return m_time;
    }

    /// What the last add() met.
    std::optional<Jump> jump() const
    {
        return m_hasJumped ? std::optional<Jump>(m_jump) : std::nullopt;
    }

    /// Whether the last record is far from the one before it, by a leap ahead or a restart. Only
    /// the next record tells whether its stamp is a single one.
    bool isLeap() const { return m_isAfterLeap; }

    /// Whether the record before the last one turned out to be such a single stamp: its time and
    /// its jump, if it had one, mean nothing. To ask right after add().
    bool wasStray() const { return m_hasReturned; }

    bool hasStarted() const { return m_hasStarted; }
    int64_t time() const { return m_time; }     // of the last record
    int64_t first() const { return m_first; }   // time of the first record with a stamp
    int64_t latest() const { return m_latest; } // the latest time so far

private:
    static constexpr int64_t ORDINARY_STEP = 60000; // ms

    int64_t addUnusual(uint32_t ticks);
    int64_t leapTo(int64_t time, uint32_t ticks);
    int64_t moveTo(int64_t time, uint32_t ticks);
    void setJump(eJump kind, uint32_t to);

    bool m_hasStarted = false;
    bool m_hasJumped = false;
    bool m_isAfterLeap = false; // the last record was far from the one before it
    bool m_hasReturned = false;
    uint32_t m_ticks = 0; // of the last record
    uint32_t m_ticksBeforeLeap = 0;
    int64_t m_time = 0; // of the last record
    int64_t m_timeBeforeLeap = 0;
    int64_t m_first = 0;
    int64_t m_latest = 0;
    int64_t m_latestBeforeLeap = 0;
    Jump m_jump = {};
};

#endif
