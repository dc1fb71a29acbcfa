#ifndef LOG_KIT_REPLAY_FORECAST_H
#define LOG_KIT_REPLAY_FORECAST_H

#include <algorithm>
#include <cstdint>
#include <optional>

#include "log_frames/frame.h"

/// Foretells how log_tool -r paces a log: each record leaves as long after the first one as its
/// stamp says, taken as it is; one that is late by then leaves at once.
class ReplayForecast
{
public:
    /// The next frame that replay reads.
    void add(Frame frame)
    {
        int64_t const ticks = frame.ticks();
        if (m_frames++ == 0)
            m_first = m_latest = ticks;
        m_latest = std::max(m_latest, ticks);
        if (m_latest - ticks > LATE && !m_backToBackFrom)
            m_backToBackFrom = m_frames - 1;
    }

    /// How long the replay takes; nothing without frames.
    std::optional<double> seconds() const
    {
        if (m_frames == 0)
            return std::nullopt;
        return static_cast<double>(m_latest - m_first) / 1e3;
    }

    /// The first frame, counted from 0, that is more than LATE late: from there on records leave
    /// back to back, until their stamps have caught up.
    std::optional<uint64_t> backToBackFrom() const { return m_backToBackFrom; }

    uint64_t frames() const { return m_frames; }

private:
    static constexpr int64_t LATE = 2000; // ms; less is disorder, and not worth a word

    uint64_t m_frames = 0;
    int64_t m_first = 0;
    int64_t m_latest = 0;
    std::optional<uint64_t> m_backToBackFrom;
};

#endif
