#include "log_kit/rate_windows.h"

void RateWindows::moveTo(int64_t time)
{
    if (!m_hasStarted) {
        m_hasStarted = true;
        m_first = time;
        m_end = time + WINDOW;
        return;
    }
    int64_t const next = (time - m_first) / WINDOW;
    // The windows that the new one pushes out, and then those between them and it, which are empty.
    int64_t const lastClosed = std::min(next - OPEN, m_window);
    for (int64_t window = std::max<int64_t>(m_window - OPEN + 1, 0); window <= lastClosed; ++window)
        close(window);
    if (next - OPEN > m_window)
        for (auto& distribution : m_closed)
            distribution[0] += static_cast<uint64_t>(next - OPEN - m_window);
    m_window = next;
    m_end = m_first + (next + 1) * WINDOW;
}

void RateWindows::close(int64_t window)
{
    PerType<uint64_t>& counts = m_counts[static_cast<size_t>(window % OPEN)];
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index)
        ++m_closed[index][counts[index]];
    counts = {};
}

std::optional<Rate> RateWindows::rate(size_t index) const
{
    Distribution distribution = m_closed[index];
    // Those that are open still, except the latest: the log ends in it.
    for (int64_t window = std::max<int64_t>(m_window - OPEN + 1, 0); window < m_window; ++window)
        ++distribution[m_counts[static_cast<size_t>(window % OPEN)][index]];
    if (distribution.empty())
        return std::nullopt;

    uint64_t windows = 0;
    for (auto const& [count, times] : distribution)
        windows += times;
    auto const at = [&](uint64_t rank) {
        auto entry = distribution.begin();
        for (; rank >= entry->second; ++entry)
            rank -= entry->second;
        return static_cast<double>(entry->first);
    };
    return Rate{at(0), (at((windows - 1) / 2) + at(windows / 2)) / 2, at(windows - 1)};
}
