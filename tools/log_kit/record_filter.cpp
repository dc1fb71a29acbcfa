#include "log_kit/record_filter.h"

#include <stdexcept>

#include "log_frames/input_file.h"
#include "log_frames/scanner.h"

// So long after the first record with UTC the start of a second has been among the records.
static constexpr int64_t CLOCK_SETTLES = 1100; // ms

PerType<char const*> const TYPE_OPTIONS = {"imu", "gnss", "pvt", "attitude", "generic"};

size_t parseType(std::string const& name)
{
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index)
        if (name == TYPE_OPTIONS[index])
            return index;
    throw std::invalid_argument("'" + name +
                                "' is no record type; they are imu, gnss, pvt, attitude, generic");
}

bool FilterOptions::needsUtc() const
{
    auto const isUtc = [](std::optional<TimePoint> const& point) {
        return point && point->kind == TimePoint::eKind::Utc;
    };
    return isUtc(from) || isUtc(to);
}

LogStart findStart(std::string const& file)
{
    InputFile input(file);
    Scanner scanner(input);
    TimeLine timeLine;
    LogStart start;
    std::optional<int64_t> firstUtc;

    while (auto const event = scanner.next()) {
        auto const* const stretch = std::get_if<Stretch>(&*event);
        if (!stretch)
            continue;
        for (Frame const frame : stretch->frames) {
            int64_t const time = timeLine.add(frame);
            start.first = timeLine.first();
            start.clock.add(frame, time);
            if (start.clock.isSet() && !firstUtc)
                firstUtc = time;
            if (firstUtc && time - *firstUtc > CLOCK_SETTLES)
                return start;
        }
    }
    return start;
}

RecordFilter::RecordFilter(FilterOptions const& options, std::optional<LogStart> const& start)
    : m_options(options)
{
    if (!start)
        return;
    m_clock = start->clock;
    if (options.needsUtc() && !m_clock.isSet())
        throw std::invalid_argument("the log has no UTC: give times as ticks or as +offset");
    setLimits(start->first);
}

bool RecordFilter::resolveLimits()
{
    if (m_timeLine.hasStarted())
        setLimits(m_timeLine.first());
    return m_isResolved;
}

void RecordFilter::setLimits(int64_t first)
{
    m_isResolved = true;
    if (m_options.from)
        m_from = resolve(*m_options.from, first, m_clock).value_or(first);
    if (m_options.to)
        m_to = resolve(*m_options.to, first, m_clock).value_or(first);
}

RecordFilter makeFilter(FilterOptions const& options, std::string const& file)
{
    if (!options.needsUtc())
        return RecordFilter(options);
    if (!InputFile::canBeReadTwice(file))
        throw std::invalid_argument("a pipe can be read only once, and UTC takes two passes: give "
                                    "times as ticks or as +offset");
    return RecordFilter(options, findStart(file));
}
