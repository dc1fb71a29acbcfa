#include "device_sim/schedule.h"

#include <algorithm>
#include <cmath>

Schedule::Schedule(Settings const& settings) : m_settings(settings)
{
    seek(0);
}

int64_t Schedule::dueOf(size_t index, uint64_t number) const
{
    static constexpr double LAST = 9e18; // fits into 64 bits

    double const rate = m_settings.rates[index];
    double const due = static_cast<double>(number) * static_cast<double>(NS_PER_S) / rate;
    return rate > 0.0 && due < LAST ? llround(due) : NEVER;
}

void Schedule::select(size_t index, uint64_t number)
{
    m_numbers[index] = number;
    m_dues[index] = dueOf(index, number);
}

void Schedule::seek(int64_t time)
{
    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i) {
        double const passed = floor(static_cast<double>(time) / NS_PER_S * m_settings.rates[i]);
        select(i, static_cast<uint64_t>(std::max(passed - 1.0, 0.0)));
        while (m_dues[i] < time)
            select(i, m_numbers[i] + 1);
    }
}

Schedule::Slot Schedule::takeEarliest()
{
    auto const earliest = std::min_element(m_dues.begin(), m_dues.end());
    Slot const slot = {*earliest, static_cast<size_t>(earliest - m_dues.begin())};
    if (slot.due != NEVER)
        select(slot.index, m_numbers[slot.index] + 1);
    return slot;
}

Schedule::Slot Schedule::next()
{
    Slot slot = takeEarliest();
    if (m_settings.silenceEvery == NEVER || slot.due == NEVER)
        return slot;

    int64_t const period = m_settings.silenceEvery + m_settings.silenceFor;
    if (slot.due % period < m_settings.silenceEvery)
        return slot;
    seek(slot.due - slot.due % period + period);
    return next();
}
