#include "log_kit/histogram.h"

std::optional<double> Histogram::median() const
{
    if (m_count == 0)
        return std::nullopt;
    uint64_t const low = valueAt((m_count - 1) / 2);
    uint64_t const high = valueAt(m_count / 2);
    return static_cast<double>(low + high) / 2;
}

// The value at this place in the order of values.
uint64_t Histogram::valueAt(uint64_t rank) const
{
    size_t value = 0;
    for (; value + 1 < m_counts.size() && rank >= m_counts[value]; ++value)
        rank -= m_counts[value];
    return value;
}
