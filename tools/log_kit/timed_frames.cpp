#include "log_kit/timed_frames.h"

std::optional<TimedFrame> TimedFrames::next()
{
    std::optional<TimedFrame> result = m_ahead ? m_ahead : read();
    m_ahead.reset();
    if (!result)
        return result;

    // Only the record after it tells whether a stamp that is far off is a single one.
    if (m_timeLine.isLeap()) {
        m_held.emplace(result->frame);
        result->frame = m_held->frame();
        m_ahead = read();
        if (m_ahead && m_timeLine.wasStray()) {
            result->time = m_latestTime;
            result->isStray = true;
            result->isRestart = false;
        }
    }
    m_latestTime = result->time;
    return result;
}

std::optional<TimedFrame> TimedFrames::read()
{
    if ((!m_stretch || m_at == m_stretch->frames.bytes() + m_stretch->frames.size()) &&
        !readStretch())
        return std::nullopt;

    Frame const frame(m_at);
    m_at += frame.size();
    int64_t const time = m_timeLine.add(frame);
    auto const jump = m_timeLine.jump();
    bool const isRestart = jump && jump->kind == eJump::Restart;
    return TimedFrame{frame, time, m_timeLine.hasStarted(), false, isRestart, m_number++};
}

bool TimedFrames::readStretch()
{
    m_stretch.reset();
    while (auto const event = m_scanner.next()) {
        if (auto const* const stretch = std::get_if<Stretch>(&*event)) {
            m_regions.add(*stretch);
            m_stretch = *stretch;
            m_at = stretch->frames.bytes();
            return true;
        }
        m_regions.add(std::get<Damage>(*event));
    }
    m_regions.finish();
    return false;
}

LogTotals TimedFrames::totals() const
{
    LogTotals totals = m_regions.totals();
    totals.bytes = m_scanner.offset();
    return totals;
}
