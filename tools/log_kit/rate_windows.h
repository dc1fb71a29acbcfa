#ifndef LOG_KIT_RATE_WINDOWS_H
#define LOG_KIT_RATE_WINDOWS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>

#include "record_list.h"

/// Records a second: over all windows of one second, side by side from the log's first record on,
/// that lie wholly in the log. A window without records counts as 0.
struct Rate
{
    double min;
    double median;
    double max;
};

/// Counts the records of each type in these windows.
class RateWindows
{
public:
    /// A record of the type at its time, in ms. Records may come out of order by up to OPEN - 1
    /// windows; those that come later count in the oldest of them.
    void add(size_t index, int64_t time)
    {
        if (time >= m_end || !m_hasStarted)
            moveTo(time);
        int64_t window = m_window;
        if (time < m_end - WINDOW)
            window -= std::min({(m_end - 1 - time) / WINDOW, OPEN - 1, m_window});
        ++m_counts[static_cast<size_t>(window % OPEN)][index];
    }

    /// Nothing if no window was whole.
    std::optional<Rate> rate(size_t index) const;

private:
    static constexpr int64_t WINDOW = 1000; // ms
    static constexpr int64_t OPEN = 4;      // windows that still count

    // How many windows had so many records.
    using Distribution = std::map<uint64_t, uint64_t>;

    void moveTo(int64_t time);
    void close(int64_t window);

    bool m_hasStarted = false;
    int64_t m_first = 0;
    int64_t m_end = 0;                                 // of the latest window, in ms
    int64_t m_window = 0;                              // its number
    std::array<PerType<uint64_t>, OPEN> m_counts = {}; // by number, modulo OPEN
    PerType<Distribution> m_closed;
};

#endif
