#ifndef LOG_KIT_RECORD_FILTER_H
#define LOG_KIT_RECORD_FILTER_H

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/time_line.h"
#include "log_kit/time_point.h"
#include "record_list.h"

/// The types' names on the command line, by index: imu, gnss, pvt, attitude, generic.
extern PerType<char const*> const TYPE_OPTIONS;

/// The index of a type's name on the command line. Throws std::invalid_argument, with a text for
/// the user, when there is none.
size_t parseType(std::string const& name);

/// Which records of a log a user wants.
struct FilterOptions
{
    std::optional<TimePoint> from; // records at or after it
    std::optional<TimePoint> to;   // records before it
    PerType<bool> types = {true, true, true, true, true};
    uint64_t every = 1; // the first of so many records, counted in each type of what is left

    /// Whether UTC is asked for. Then the log must be read in part before it can be filtered.
    bool needsUtc() const;
};

/// What a filter must know of a log before the first record passes.
struct LogStart
{
    int64_t first = 0; // time of the first record with a stamp
    UtcClock clock;    // set by the first second of GNSS records with UTC
};

/// Reads as much of a log as it takes. Throws FileError.
LogStart findStart(std::string const& file);

/// Chooses records by their type and their time on the log's time line, which it keeps.
class RecordFilter
{
public:
    /// `start` is needed for UTC only. Throws std::invalid_argument, with a text for the user, when
    /// a log without UTC is asked for UTC.
    explicit RecordFilter(FilterOptions const& options,
                          std::optional<LogStart> const& start = std::nullopt);

    /// Whether the record passes. Ask once for every record of the log, in the order of the file.
    /// Records from before the first stamp pass unless there is a `from`.
    bool accepts(Frame frame)
    {
        m_time = m_timeLine.add(frame);
        if (!m_isResolved && !resolveLimits())
            return !m_options.from && takeTurn(frame.index());
        return m_time >= m_from && m_time < m_to && takeTurn(frame.index());
    }

    /// The time of the record that was asked for last.
    int64_t time() const { return m_time; }
    TimeLine const& timeLine() const { return m_timeLine; }

private:
    bool resolveLimits();
    void setLimits(int64_t first);
    bool takeTurn(size_t index)
    {
        if (!m_options.types[index])
            return false;
        bool const isChosen = m_left[index] == 0;
        m_left[index] = (isChosen ? m_options.every : m_left[index]) - 1;
        return isChosen;
    }

    FilterOptions m_options;
    TimeLine m_timeLine;
    UtcClock m_clock;
    bool m_isResolved = false;
    int64_t m_time = 0;
    int64_t m_from = std::numeric_limits<int64_t>::min();
    int64_t m_to = std::numeric_limits<int64_t>::max();
    PerType<uint64_t> m_left = {}; // records to leave out until the next one that passes
};

/// The filter for a log, of which as much is read beforehand as it takes. Throws FileError, and
/// std::invalid_argument when UTC is asked for of standard input or a pipe, which can be read only
/// once.
RecordFilter makeFilter(FilterOptions const& options, std::string const& file);

#endif
