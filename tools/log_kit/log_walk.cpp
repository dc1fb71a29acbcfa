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

std::optional<double> LogTotals::knownSecondsLost() const
{
    if (!isClean() && regionsTimed == 0)
        return std::nullopt;
    return secondsLost;
}

void RegionCollector::add(Damage const& damage)
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
    m_totals.endsWithFrame = false;
}

std::optional<DamagedRegion> RegionCollector::add(Stretch const& stretch)
{
    auto const region = finish((*stretch.frames.begin()).ticks());
    m_latestTicks = stretch.last.ticks();
    m_totals.frames += stretch.count;
    m_totals.endsWithFrame = true;
    return region;
}

std::optional<DamagedRegion> RegionCollector::finish(std::optional<uint32_t> ticksAfter)
{
    if (!m_region)
        return std::nullopt;
    DamagedRegion region = *m_region;
    m_region.reset();
    region.ticksAfter = ticksAfter;
    ++m_totals.regions;
    m_totals.damagedBytes += region.length;
    m_totals.framesLostAtMost += region.framesAtMost;
    if (auto const seconds = region.seconds()) {
        m_totals.secondsLost += *seconds;
        ++m_totals.regionsTimed;
    }
    return region;
}

LogTotals walkLog(InputFile& input, Progress& progress,
                  std::function<void(Stretch const&)> const& onStretch,
                  std::function<void(DamagedRegion const&)> const& onRegion)
{
    RegionCollector regions;
    Scanner scanner(input);
    auto const tell = [&](std::optional<DamagedRegion> const& region) {
        if (region && onRegion)
            onRegion(*region);
    };

    progress.start(input.name(), input.size());
    while (auto const event = scanner.next()) {
        if (auto const* const stretch = std::get_if<Stretch>(&*event)) {
            tell(regions.add(*stretch));
            if (onStretch)
                onStretch(*stretch);
        } else {
            regions.add(std::get<Damage>(*event));
        }
        progress.at(scanner.offset());
    }
    tell(regions.finish(std::nullopt));
    LogTotals totals = regions.totals();
    totals.bytes = scanner.offset();
    return totals;
}
