#include "log_kit/gap_finder.h"

#include <algorithm>

static bool isLonger(Gap const& a, Gap const& b)
{
    return a.length > b.length;
}

GapFinder::GapFinder(int64_t shortest) : m_shortest(std::max<int64_t>(shortest, 1)) {}

void GapFinder::addLong(size_t index, int64_t time, uint32_t ticks)
{
    Series& series = m_series[index];
    if (!m_hasRecord) {
        m_hasRecord = true;
        m_first = m_latest = time;
        m_silence = 0; // there was no record yet to measure it from
    }
    if (series.hasRecord)
        series.intervals.add(static_cast<uint64_t>(time - series.latest));
    keep(series, gapUntil(index, time, ticks));
    series.hasRecord = true;
}

Gap GapFinder::gapUntil(size_t index, int64_t end, std::optional<uint32_t> beforeTicks) const
{
    Series const& series = m_series[index];
    Gap gap = {};
    gap.index = index;
    gap.start = series.hasRecord ? series.latest : m_first;
    gap.length = end - gap.start;
    if (series.hasRecord)
        gap.afterTicks = series.latestTicks;
    gap.beforeTicks = beforeTicks;
    gap.isDeviceSilent = 2 * (m_silence - series.silence) >= gap.length;
    return gap;
}

void GapFinder::keep(Series& series, Gap const& gap)
{
    auto& heap = series.candidates;
    if (gap.length <= 0 || (heap.size() == MAX_GAPS && gap.length <= heap.front().length))
        return;
    if (heap.size() == MAX_GAPS) {
        std::pop_heap(heap.begin(), heap.end(), isLonger);
        heap.pop_back();
    }
    heap.push_back(gap);
    std::push_heap(heap.begin(), heap.end(), isLonger);
}

std::optional<double> GapFinder::medianInterval(size_t index) const
{
    return m_series[index].intervals.median();
}

std::vector<Gap> GapFinder::gaps(PerType<double> const& longerThan) const
{
    std::vector<Gap> gaps;
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        Series const& series = m_series[index];
        if (series.intervals.count() == 0)
            continue; // a single record says nothing of how often they should come
        auto const isGap = [&](Gap const& gap) {
            return static_cast<double>(gap.length) > longerThan[index];
        };
        std::copy_if(series.candidates.begin(), series.candidates.end(), std::back_inserter(gaps),
                     isGap);
        Gap const toEnd = gapUntil(index, m_latest, std::nullopt);
        if (isGap(toEnd))
            gaps.push_back(toEnd);
    }
    std::sort(gaps.begin(), gaps.end(), [](Gap const& a, Gap const& b) {
        return a.start != b.start ? a.start < b.start : a.index < b.index;
    });
    return gaps;
}
