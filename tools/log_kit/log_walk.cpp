#include "log_kit/log_walk.h"

#include "log_kit/time_line.h"

std::optional<double> DamagedRegion::seconds() const
{
    if (!ticksBefore || !ticksAfter)
        return std::nullopt;
    TimeLine timeLine; // knows a wrap from a restart
    int64_t const before = timeLine.add(*ticksBefore);
    int64_t const after = timeLine.add(*ticksAfter);
    auto const jump = timeLine.jump();
    if (jump && jump->kind != eJump::Wrap)
        return std::nullopt;
    return static_cast<double>(after - before) / 1e3;
}

namespace
{

/// Puts adjoining damages together, and tells of them when the frame after them is known.
class RegionCollector
{
public:
    RegionCollector(LogTotals& totals, std::function<void(DamagedRegion const&)> const& onRegion)
        : m_totals(totals),
          m_onRegion(onRegion)
    {}

    void add(Damage const& damage)
    {
        if (!m_region) {
            m_region.emplace();
            m_region->offset = damage.offset;
            m_region->first = damage;
            m_region->ticksBefore = m_latestTicks;
        }
        m_region->length += damage.length;
        m_region->framesAtMost += ::framesAtMost(damage);
        m_region->endsReplay = m_region->endsReplay || damage.endsReplay;
    }

    void add(Stretch const& stretch)
    {
        finish((*stretch.frames.begin()).ticks());
        m_latestTicks = stretch.last.ticks();
    }

    void finish(std::optional<uint32_t> ticksAfter)
    {
        if (!m_region)
            return;
        m_region->ticksAfter = ticksAfter;
        ++m_totals.regions;
        m_totals.damagedBytes += m_region->length;
        m_totals.framesLostAtMost += m_region->framesAtMost;
        if (auto const seconds = m_region->seconds()) {
            m_totals.secondsLost += *seconds;
            ++m_totals.regionsTimed;
        }
        if (m_onRegion)
            m_onRegion(*m_region);
        m_region.reset();
    }

private:
    LogTotals& m_totals;
    std::function<void(DamagedRegion const&)> const& m_onRegion;
    std::optional<DamagedRegion> m_region;
    std::optional<uint32_t> m_latestTicks;
};

}

LogTotals walkLog(InputFile& input, Progress& progress,
                  std::function<void(Stretch const&)> const& onStretch,
                  std::function<void(DamagedRegion const&)> const& onRegion)
{
    LogTotals totals;
    RegionCollector regions(totals, onRegion);
    Scanner scanner(input);

    progress.start(input.name(), input.size());
    while (auto const event = scanner.next()) {
        auto const* const stretch = std::get_if<Stretch>(&*event);
        totals.endsWithFrame = stretch;
        if (stretch) {
            regions.add(*stretch);
            if (onStretch)
                onStretch(*stretch);
            totals.frames += stretch->count;
        } else {
            regions.add(std::get<Damage>(*event));
        }
        progress.at(scanner.offset());
    }
    regions.finish(std::nullopt);
    totals.bytes = scanner.offset();
    return totals;
}
