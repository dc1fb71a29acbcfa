#ifndef LOG_KIT_HISTOGRAM_H
#define LOG_KIT_HISTOGRAM_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// How often each value came, in constant memory: values from `limit` on count as `limit`, except
/// in min() and max().
class Histogram
{
public:
    explicit Histogram(size_t limit) : m_counts(limit + 1) {}

    void add(uint64_t value)
    {
        ++m_counts[std::min<uint64_t>(value, m_counts.size() - 1)];
        ++m_count;
        m_min = std::min(m_min, value);
        m_max = std::max(m_max, value);
    }

    uint64_t count() const { return m_count; }

    // Nothing without values.
    std::optional<uint64_t> min() const { return m_count ? std::optional(m_min) : std::nullopt; }
    std::optional<uint64_t> max() const { return m_count ? std::optional(m_max) : std::nullopt; }

    /// The middle value; of an even number of them the mean of the two in the middle.
    std::optional<double> median() const;

private:
    uint64_t valueAt(uint64_t rank) const;

    std::vector<uint64_t> m_counts;
    uint64_t m_count = 0;
    uint64_t m_min = UINT64_MAX;
    uint64_t m_max = 0;
};

#endif
