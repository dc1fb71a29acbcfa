#include "log_kit/utc_clock.h"

#include <algorithm>

std::optional<GnssPvt> pvtOf(Frame frame)
{
    if (frame.holds<GnssPvt>())
        return frame.record<GnssPvt>();
    if (!frame.holds<GnssData>())
        return std::nullopt;
    auto const data = frame.record<GnssData>();
    return data.isSectionValid(eGnssSection::Pvt) ? std::optional<GnssPvt>(data.pvt) : std::nullopt;
}

bool hasUtc(GnssPvt const& pvt)
{
    return pvt.fixType >= 1 && pvt.fixType <= 4 && pvt.utcTime > 0;
}

bool hasPosition(GnssPvt const& pvt)
{
    return pvt.fixType == 1 || pvt.fixType == 3 || pvt.fixType == 4;
}

void UtcClock::add(Frame frame, int64_t time)
{
    auto const pvt = pvtOf(frame);
    if (!pvt || !hasUtc(*pvt))
        return;
    // The section may be older than the record.
    int64_t const age = static_cast<int32_t>(frame.ticks() - pvt->ticks);
    int64_t const offset = time - age - int64_t{pvt->utcTime} * 1000;
    m_offset = m_offset ? std::min(*m_offset, offset) : offset;
}

std::optional<int64_t> UtcClock::timeOf(int64_t utcMs) const
{
    return m_offset ? std::optional<int64_t>(*m_offset + utcMs) : std::nullopt;
}
