#include "log_kit/gnss_summary.h"

#include <algorithm>

#include "log_kit/plausibility.h"
#include "log_kit/utc_clock.h"

static constexpr uint32_t MM_PER_CM = 10;

static size_t fixOf(GnssPvt const& pvt)
{
    return pvt.fixType >= 0 && pvt.fixType < 5 ? static_cast<size_t>(pvt.fixType) : FIX_COUNT - 1;
}

std::string fixText(size_t fix)
{
    GnssPvt pvt = {};
    pvt.fixType = static_cast<int32_t>(fix);
    return pvt.getFixTypeText();
}

void GnssSummary::add(size_t index, int64_t time, GnssPvt const& pvt)
{
    addFix(m_series[index], fixOf(pvt), time);
    m_satellites.add(pvt.satelliteCount);
    if (hasPosition(pvt) && isPositionPlausible(pvt))
        addPosition(pvt);
    if (hasUtc(pvt)) {
        m_utcEnd = pvt.utcTime;
        if (!m_utcStart)
            m_utcStart = m_utcEnd;
    }
}

void GnssSummary::addFix(Series& series, size_t fix, int64_t time)
{
    if (series.hasSection) {
        series.held = std::clamp<int64_t>(time - series.time, 0, HOLDS);
        m_fixTimes[series.fix] += series.held;
    }
    series.hasSection = true;
    series.fix = fix;
    series.time = time;
}

void GnssSummary::addPosition(GnssPvt const& pvt)
{
    double const latitude = pvt.latitude / 1e7;
    double const longitude = pvt.longitude / 1e7;
    m_lastPosition = {latitude, longitude, pvt.altitude / 1e3};
    if (!m_box)
        m_box = {latitude, longitude, latitude, longitude};
    m_box->south = std::min(m_box->south, latitude);
    m_box->west = std::min(m_box->west, longitude);
    m_box->north = std::max(m_box->north, latitude);
    m_box->east = std::max(m_box->east, longitude);
    m_horizontalAccuracy.add(pvt.horizontalAccuracy / MM_PER_CM);
    m_verticalAccuracy.add(pvt.verticalAccuracy / MM_PER_CM);
}

std::optional<double> GnssSummary::fixShare(size_t fix) const
{
    auto times = m_fixTimes;
    for (Series const& series : m_series)
        if (series.hasSection)
            times[series.fix] += series.held;

    int64_t total = 0;
    for (int64_t const time : times)
        total += time;
    if (total == 0)
        return std::nullopt;
    return static_cast<double>(times[fix]) / static_cast<double>(total);
}
