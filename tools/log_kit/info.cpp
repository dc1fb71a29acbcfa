#include "log_kit/info.h"

#include <algorithm>

#include "log_kit/plausibility.h"
#include "log_kit/utc_clock.h"

static constexpr double DEFAULT_GAP = 0.5;           // s, at least
static constexpr double DEFAULT_GAP_INTERVALS = 5.0; // times the median interval

// The shortest gap that may be told.
static int64_t shortestGapMs(InfoOptions const& options)
{
    double const seconds =
        options.gap.value_or(std::min(options.shortestGap.value_or(DEFAULT_GAP), DEFAULT_GAP));
    return static_cast<int64_t>(seconds * 1e3);
}

namespace
{

/// Sums up the records of a log, one by one.
class Summary
{
public:
    explicit Summary(InfoOptions const& options) : m_gaps(shortestGapMs(options)) {}

    void add(Stretch const& stretch);
    void add(DamagedRegion const& region);
    Info finish(InfoOptions const& options, LogTotals const& totals);

private:
    /// A record that waits for the next one: that tells whether its stamp is a stray one.
    struct Waiting
    {
        size_t index;
        int64_t time;
        uint32_t ticks;
    };

    void addTime(Frame frame, uint64_t offset);
    void addUnusualTime(Frame frame, uint64_t offset, int64_t time);
    void addJump(Jump const& jump, uint64_t offset);
    void count(size_t index, int64_t time, uint32_t ticks);
    void addContent(Frame frame);
    void addPvt(size_t index, GnssPvt const& pvt);

    Info m_info;
    uint64_t m_frame = 0; // number of the one in hand
    TimeLine m_timeLine;
    RateWindows m_windows;
    GapFinder m_gaps;
    std::optional<Waiting> m_waiting;
    bool m_hasReplayEnded = false;
};

}

void Summary::add(Stretch const& stretch)
{
    for (Frame const frame : stretch.frames) {
        TypeInfo& type = m_info.types[frame.index()];
        ++type.count;
        addTime(frame,
                stretch.offset + static_cast<uint64_t>(frame.bytes() - stretch.frames.bytes()));
        addContent(frame);
        if (!m_hasReplayEnded)
            m_info.replay.add(frame);
        ++m_frame;
    }
}

void Summary::add(DamagedRegion const& region)
{
    if (!region.endsReplay || m_hasReplayEnded)
        return;
    m_hasReplayEnded = true;
    m_info.replayEndsAt = region.offset;
}

void Summary::addTime(Frame frame, uint64_t offset)
{
    int64_t const time = m_timeLine.add(frame);
    if (m_waiting || m_timeLine.isLeap() || m_timeLine.jump() || !m_timeLine.hasStarted())
        addUnusualTime(frame, offset, time);
    else
        count(frame.index(), time, frame.ticks());
}

void Summary::addUnusualTime(Frame frame, uint64_t offset, int64_t time)
{
    if (!m_timeLine.hasStarted())
        return; // a record without a stamp before all stamps
    if (m_waiting) {
        bool const isStray = m_timeLine.wasStray();
        if (!isStray)
            count(m_waiting->index, m_waiting->time, m_waiting->ticks);
        else if (!m_info.jumps.empty() && m_info.jumps.back().frame == m_frame - 1 &&
                 m_info.jumps.back().jump.kind == eJump::Restart) {
            m_info.jumps.back().jump.kind = eJump::Back;
            --m_info.restarts;
            ++m_info.backs;
        }
        m_waiting.reset();
    }
    if (auto const jump = m_timeLine.jump())
        addJump(*jump, offset);
    if (m_timeLine.isLeap())
        m_waiting = {frame.index(), time, frame.ticks()};
    else
        count(frame.index(), time, frame.ticks());
}

void Summary::addJump(Jump const& jump, uint64_t offset)
{
    uint64_t& counter = jump.kind == eJump::Wrap   ? m_info.wraps
                        : jump.kind == eJump::Back ? m_info.backs
                                                   : m_info.restarts;
    ++counter;
    if (m_info.jumps.size() < Info::MAX_JUMPS)
        m_info.jumps.push_back({jump, m_frame, offset});
}

void Summary::count(size_t index, int64_t time, uint32_t ticks)
{
    TypeInfo& type = m_info.types[index];
    if (!type.firstTicks)
        type.firstTicks = ticks;
    type.lastTicks = ticks;
    if (!m_info.firstTicks)
        m_info.firstTicks = ticks;
    m_info.lastTicks = ticks;
    m_windows.add(index, time);
    m_gaps.add(index, time, ticks);
}

void Summary::addContent(Frame frame)
{
    bool isPlausible = true;
    switch (frame.index()) {
    case INDEX_OF<ImuData>:
        isPlausible = areFinite<6>(frame.payload() + offsetof(ImuData, values));
        break;
    case INDEX_OF<AttitudeData>:
        isPlausible = areFinite<4>(frame.payload() + offsetof(AttitudeData, values));
        break;
    default:
        if (auto const pvt = pvtOf(frame))
            addPvt(frame.index(), *pvt);
        return;
    }
    m_info.implausible += !isPlausible;
}

void Summary::addPvt(size_t index, GnssPvt const& pvt)
{
    m_info.gnss.add(index, m_timeLine.time(), pvt);
    m_info.implausible += !isPositionPlausible(pvt) || !isSpeedPlausible(pvt);
}

Info Summary::finish(InfoOptions const& options, LogTotals const& totals)
{
    if (m_waiting)
        count(m_waiting->index, m_waiting->time, m_waiting->ticks);

    m_info.totals = totals;
    if (m_timeLine.hasStarted())
        m_info.seconds = static_cast<double>(m_timeLine.latest() - m_timeLine.first()) / 1e3;

    PerType<double> longerThan = {};
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        TypeInfo& type = m_info.types[index];
        type.bytes = type.count * FRAME_SIZES[index];
        if (type.count > 0)
            type.rate = m_windows.rate(index);
        double const usual = DEFAULT_GAP_INTERVALS * m_gaps.medianInterval(index).value_or(0);
        longerThan[index] = options.gap
                                ? *options.gap * 1e3
                                : std::max(usual, static_cast<double>(shortestGapMs(options)));
    }
    m_info.gaps = m_gaps.gaps(longerThan);
    return std::move(m_info);
}

Info info(InfoOptions const& options, Progress& progress)
{
    InputFile input(options.file);
    Summary summary(options);
    LogTotals const totals = walkLog(
        input, progress, [&](Stretch const& stretch) { summary.add(stretch); },
        [&](DamagedRegion const& region) { summary.add(region); });
    return summary.finish(options, totals);
}
