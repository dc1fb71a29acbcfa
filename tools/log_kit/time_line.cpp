#include "log_kit/time_line.h"

static constexpr int64_t ROUND = int64_t{1} << 32; // ms until the counter begins again

int64_t TimeLine::addUnusual(uint32_t ticks)
{
    bool const wasAfterLeap = m_isAfterLeap;
    m_isAfterLeap = false;
    m_hasJumped = false;
    m_hasReturned = false;

    if (!m_hasStarted) {
        m_hasStarted = true;
        m_first = m_latest = ticks;
        return moveTo(m_first, ticks);
    }

    int64_t const step = int64_t{ticks} - int64_t{m_ticks};
    int64_t const sinceLeap = int64_t{ticks} - int64_t{m_ticksBeforeLeap};
    bool const goesOn = step >= 0 && step <= ORDINARY_STEP;
    if (wasAfterLeap && !goesOn && sinceLeap >= -BACK_LIMIT && sinceLeap <= ORDINARY_STEP) {
        if (step < 0)
            setJump(eJump::Back, ticks);
        m_hasReturned = true;
        m_latest = m_latestBeforeLeap;
        return moveTo(m_timeBeforeLeap + sinceLeap, ticks);
    }
    if (goesOn)
        return moveTo(m_time + step, ticks);

    if (step < 0 && step >= -BACK_LIMIT) {
        setJump(eJump::Back, ticks);
        return moveTo(m_time + step, ticks);
    }
    if (step > 0 && ROUND - step <= BACK_LIMIT) { // from before the wrap
        setJump(eJump::Back, ticks);
        return moveTo(m_time + step - ROUND, ticks);
    }
    if (step > 0)
        return leapTo(m_time + step, ticks);
    if (ROUND + step <= WRAP_LIMIT) {
        setJump(eJump::Wrap, ticks);
        return moveTo(m_time + ROUND + step, ticks);
    }
    setJump(eJump::Restart, ticks);
    return leapTo(m_latest, ticks);
}

int64_t TimeLine::leapTo(int64_t time, uint32_t ticks)
{
    m_isAfterLeap = true;
    m_ticksBeforeLeap = m_ticks;
    m_timeBeforeLeap = m_time;
    m_latestBeforeLeap = m_latest;
    return moveTo(time, ticks);
}

int64_t TimeLine::moveTo(int64_t time, uint32_t ticks)
{
    m_ticks = ticks;
    m_time = time;
    m_latest = std::max(m_latest, time);
    return time;
}

void TimeLine::setJump(eJump kind, uint32_t to)
{
    m_hasJumped = true;
    m_jump = {kind, m_ticks, to};
}
