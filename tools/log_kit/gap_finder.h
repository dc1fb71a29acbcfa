#ifndef LOG_KIT_GAP_FINDER_H
#define LOG_KIT_GAP_FINDER_H

#include <cstdint>
#include <optional>
#include <vector>

#include "log_kit/histogram.h"
#include "record_list.h"

/// A time without records of one type.
struct Gap
{
    size_t index;                        // of the type
    int64_t start;                       // on the time line, in ms
    int64_t length;                      // in ms
    std::optional<uint32_t> afterTicks;  // of the record before it; none at the start of the log
    std::optional<uint32_t> beforeTicks; // of the record after it; none at the end of the log
    bool isDeviceSilent;                 // for most of it no other records came either
};

/// Finds gaps in one pass. What is a gap follows from a type's usual interval, which is known only
/// at the end; until then the longest intervals are kept.
class GapFinder
{
public:
    static constexpr size_t MAX_GAPS = 10000; // of a type; of more, the longest are kept

    /// Only intervals of at least `shortest` ms are kept.
    explicit GapFinder(int64_t shortest);

    /// A record of the type at its time.
    void add(size_t index, int64_t time, uint32_t ticks)
    {
        int64_t const pause = time - m_latest;
        if (pause >= m_shortest)
            m_silence += pause;
        m_latest = std::max(m_latest, time);

        Series& series = m_series[index];
        int64_t const interval = time - series.latest;
        if (series.hasRecord && interval < m_shortest) {
            if (interval < 0)
                return; // out of order
            series.intervals.add(static_cast<uint64_t>(interval));
        } else {
            addLong(index, time, ticks);
        }
        series.latest = time;
        series.latestTicks = ticks;
        series.silence = m_silence;
    }

    /// The type's median interval in ms, if it has two records or more.
    std::optional<double> medianInterval(size_t index) const;

    /// Gaps that are longer than `longerThan` ms for the type, in the order of their start, also
    /// those from the start of the log and to its end. None for a type with a single record.
    std::vector<Gap> gaps(PerType<double> const& longerThan) const;

private:
    static constexpr size_t LONGEST_COUNTED = 20000; // ms

    struct Series
    {
        bool hasRecord = false;
        int64_t latest = 0;
        uint32_t latestTicks = 0;
        int64_t silence = 0; // m_silence at that time
        Histogram intervals{LONGEST_COUNTED};
        std::vector<Gap> candidates; // a heap, the shortest first
    };

    void addLong(size_t index, int64_t time, uint32_t ticks);
    static void keep(Series& series, Gap const& gap);
    Gap gapUntil(size_t index, int64_t end, std::optional<uint32_t> beforeTicks) const;

    int64_t m_shortest;
    bool m_hasRecord = false;
    int64_t m_first = 0;
    int64_t m_latest = 0;
    int64_t m_silence = 0; // how long no record of any type came, in all, in ms
    PerType<Series> m_series;
};

#endif
