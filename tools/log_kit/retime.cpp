#include "log_kit/retime.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "log_frames/file_error.h"
#include "log_kit/stamps.h"
#include "log_kit/timed_frames.h"

// The earliest stamp of an unwrapped log that does not fit where it was.
static constexpr int64_t UNWRAPPED_START = 1000;

static constexpr int64_t MAX_STAMP = std::numeric_limits<uint32_t>::max();

// How far all times of the log must move to be stamps.
static int64_t findUnwrapShift(std::string const& file, Progress& progress)
{
    TimedFrames frames(file);
    progress.start(file, frames.input().size());
    int64_t earliest = std::numeric_limits<int64_t>::max();
    int64_t latest = std::numeric_limits<int64_t>::min();
    while (auto const timed = frames.next()) {
        progress.at(frames.offset());
        if (!timed->hasTime)
            continue;
        earliest = std::min(earliest, timed->time);
        latest = std::max(latest, timed->time);
    }
    if (earliest > latest || (earliest >= 0 && latest <= MAX_STAMP))
        return 0;
    if (latest - earliest > MAX_STAMP - UNWRAPPED_START)
        throw FileError(file + " spans more than 49 days: its times do not fit in 32-bit stamps");
    return UNWRAPPED_START - earliest;
}

namespace
{

/// Finds for each record how far it moves.
class Mover
{
public:
    Mover(RetimeOptions const& options, int64_t unwrapShift)
        : m_options(options),
          m_shift(options.mode == eRetime::Unwrap ? unwrapShift : options.shift)
    {}

    /// For a record with a stamp; modulo 2^32.
    uint32_t deltaFor(TimedFrame const& timed)
    {
        uint32_t const ticks = timed.frame.ticks();
        if (m_options.mode == eRetime::Unwrap)
            return static_cast<uint32_t>(timed.time + m_shift) - ticks;
        if (!m_hasStarted && m_options.mode == eRetime::Start)
            m_shift = int64_t{m_options.start} - ticks;
        m_hasStarted = true;
        return static_cast<uint32_t>(m_shift);
    }

    int64_t shift() const { return m_shift; }

private:
    RetimeOptions const& m_options;
    int64_t m_shift;
    bool m_hasStarted = false;
};

}

namespace
{

/// Counts the wraps of the counter in a log.
class WrapCounter
{
public:
    void add(Frame frame)
    {
        m_timeLine.add(frame);
        auto const jump = m_timeLine.jump();
        m_count += jump && jump->kind == eJump::Wrap;
    }
    uint64_t count() const { return m_count; }

private:
    TimeLine m_timeLine;
    uint64_t m_count = 0;
};

}

RetimeResult retime(RetimeOptions const& options, Progress& progress)
{
    bool const unwraps = options.mode == eRetime::Unwrap;
    if (unwraps && !InputFile::canBeReadTwice(options.files.input))
        throw FileError("--unwrap reads the log twice, which a pipe does not allow: give a file");
    Mover mover(options, unwraps ? findUnwrapShift(options.files.input, progress) : 0);

    TimedFrames frames(options.files.input);
    checkOutput(options.files.output, frames.input());
    OutputFile output(options.files.output, existing(options.files.force));
    progress.start(frames.input().name(), frames.input().size());

    RetimeResult result;
    WrapCounter before;
    WrapCounter after;
    while (auto const timed = frames.next()) {
        FrameCopy frame(timed->frame);
        if (timed->hasTime && (frame.frame().ticks() != 0 || !frame.frame().holds<GnssData>())) {
            result.madeOne += moveStamps(frame, mover.deltaFor(*timed));
            result.strays += unwraps && timed->isStray;
        }
        output.write(frame.frame());
        before.add(timed->frame);
        after.add(frame.frame());
        progress.at(frames.offset());
    }
    result.hasNewWrap = after.count() > before.count();
    result.read = frames.totals();
    result.shift = mover.shift();
    result.bytes = output.size();
    if (result.bytes > 0)
        output.publish();
    return result;
}
