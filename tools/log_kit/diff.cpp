#include "log_kit/diff.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>
#include <map>

#include "log_frames/file_error.h"
#include "log_kit/record_fields.h"
#include "log_kit/stamps.h"
#include "log_kit/timed_frames.h"

// Records that are out of order by less than this still find each other.
static constexpr int64_t REACH = TimeLine::BACK_LIMIT; // ms

static constexpr size_t MAX_PENDING = 1 << 16; // records of a log; the oldest are judged then
static constexpr size_t MAX_LOOKED_AT = 256;   // records of one time, for the one that is identical

// Records before the first stamp of their log.
static constexpr int64_t NO_TIME = std::numeric_limits<int64_t>::min() / 4;
static constexpr int64_t AT_END = std::numeric_limits<int64_t>::max();

bool DiffResult::isSame() const
{
    for (TypeDifference const& type : types)
        if (type.differing + type.onlyInA + type.onlyInB > 0)
            return false;
    return true;
}

uint64_t DiffResult::inBoth() const
{
    uint64_t count = 0;
    for (TypeDifference const& type : types)
        count += type.identical + type.differing;
    return count;
}

namespace
{

/// A record that has not found its like yet, with its stamps moved to the time of the first log.
struct Pending
{
    FrameCopy frame;
    uint32_t ticks; // as in its log
};

/// In the order of time, then of the file.
struct Key
{
    int64_t time;
    uint64_t number;

    bool operator<(Key const& other) const
    {
        return time != other.time ? time < other.time : number < other.number;
    }
};

/// One of the two logs.
class Side
{
public:
    using PendingRecords = std::map<Key, Pending>;

    Side(std::string const& file, int64_t shift, eDifference kind)
        : onlyHere(kind),
          frames(file),
          m_shift(shift)
    {}

    /// Reads a record; nothing at the end.
    std::optional<std::pair<Key, Pending>> read()
    {
        auto const timed = frames.next();
        if (!timed) {
            time = AT_END;
            return std::nullopt;
        }
        ++count;
        Pending record = {FrameCopy(timed->frame), timed->frame.ticks()};
        if (m_shift != 0)
            moveStamps(record.frame, static_cast<uint32_t>(-m_shift));
        Key const key = {timed->hasTime ? timed->time - m_shift : NO_TIME, timed->number};
        time = std::max(time, key.time);
        return std::pair(key, record);
    }

    void keep(Key const& key, Pending const& record)
    {
        pending.emplace(key, record);
        m_arrivals.push_back({key, time});
    }

    /// The record that has waited longest, if it came before the log reached `horizon`, or if too
    /// many wait.
    std::optional<PendingRecords::iterator> takeOld(int64_t horizon)
    {
        while (!m_arrivals.empty()) {
            auto const& [key, arrival] = m_arrivals.front();
            if (arrival >= horizon && m_arrivals.size() <= MAX_PENDING)
                break;
            auto const place = pending.find(key);
            m_arrivals.pop_front();
            if (place != pending.end())
                return place;
        }
        return std::nullopt;
    }

    eDifference const onlyHere;
    TimedFrames frames;
    PendingRecords pending;
    int64_t time = NO_TIME; // the latest one so far
    uint64_t count = 0;     // of records read

private:
    struct Arrival
    {
        Key key;
        int64_t time; // that the log had reached
    };

    int64_t m_shift;
    std::deque<Arrival> m_arrivals; // of pending records, and of some that are not any more
};

/// Compares the logs while it reads them.
class Differ
{
public:
    Differ(DiffOptions const& options, TimeShift shift)
        : m_tolerance(options.tolerance),
          m_a(options.a, 0, eDifference::OnlyInA),
          m_b(options.b, shift.ms, eDifference::OnlyInB)
    {
        m_result.shift = shift;
        for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index)
            m_result.types[index].fields.resize(recordFields(index).size());
    }

    DiffResult run(Progress& progress)
    {
        auto const sizeA = m_a.frames.input().size();
        auto const sizeB = m_b.frames.input().size();
        progress.start(m_a.frames.input().name(),
                       sizeA && sizeB ? std::optional(*sizeA + *sizeB) : std::nullopt);
        while (m_a.time != AT_END || m_b.time != AT_END) {
            bool const isATurn =
                m_a.time != m_b.time ? m_a.time < m_b.time : m_a.count <= m_b.count;
            if (isATurn)
                take(m_a, m_b);
            else
                take(m_b, m_a);
            judgeOld();
            progress.at(m_a.frames.offset() + m_b.frames.offset());
        }
        m_result.a = m_a.frames.totals();
        m_result.b = m_b.frames.totals();
        return std::move(m_result);
    }

private:
    using Place = Side::PendingRecords::iterator;

    TypeDifference& typeOf(Pending const& record)
    {
        return m_result.types[record.frame.frame().index()];
    }

    static bool isSameType(Pending const& a, Pending const& b)
    {
        return a.frame.frame().index() == b.frame.frame().index();
    }

    static bool isIdentical(Pending const& a, Pending const& b)
    {
        Frame const frame = a.frame.frame();
        return isSameType(a, b) &&
               memcmp(frame.bytes(), b.frame.frame().bytes(), frame.size()) == 0;
    }

    // Pairs the record with an identical one of the other log, or keeps it.
    void take(Side& side, Side& other)
    {
        auto const record = side.read();
        if (!record)
            return;
        auto const& [key, pending] = *record;
        size_t looked = 0;
        for (auto at = other.pending.lower_bound({key.time, 0});
             at != other.pending.end() && at->first.time == key.time && looked < MAX_LOOKED_AT;
             ++at, ++looked)
            if (isIdentical(at->second, pending)) {
                ++typeOf(pending).identical;
                other.pending.erase(at);
                return;
            }
        side.keep(key, pending);
    }

    // Judges the records for which no identical one can come any more.
    void judgeOld()
    {
        int64_t const now = std::min(m_a.time, m_b.time);
        int64_t const horizon = now == AT_END ? AT_END : now - REACH - m_tolerance;
        while (auto const record = m_a.takeOld(horizon))
            judge(m_a, m_b, *record);
        while (auto const record = m_b.takeOld(horizon))
            judge(m_b, m_a, *record);
    }

    // Pairs an old record of a log with the nearest one of the other log.
    void judge(Side& side, Side& other, Place old)
    {
        auto const [key, record] = *old;
        Place const partner = nearest(side, other, key, record);
        side.pending.erase(old);
        if (partner == other.pending.end()) {
            addOnlyIn(side.onlyHere, key, record);
            return;
        }
        bool const isA = side.onlyHere == eDifference::OnlyInA;
        Key const keyInA = isA ? key : partner->first;
        addDiffering(keyInA, isA ? record : partner->second, isA ? partner->second : record);
        other.pending.erase(partner);
    }

    Place nearest(Side const& side, Side& other, Key const& key, Pending const& record) const
    {
        Place best = other.pending.end();
        int64_t bestDistance = m_tolerance + 1;
        for (Place at = other.pending.lower_bound({key.time - m_tolerance, 0});
             at != other.pending.end() && at->first.time <= key.time + m_tolerance; ++at) {
            int64_t const distance = std::abs(at->first.time - key.time);
            if (distance >= bestDistance || !isSameType(at->second, record) ||
                (distance > 0 && hasAt(side, at->first.time, record)))
                continue;
            best = at;
            bestDistance = distance;
            if (distance == 0)
                break;
        }
        return best;
    }

    // Whether the log has a record of that type at this time: then that is the nearer one.
    static bool hasAt(Side const& side, int64_t time, Pending const& record)
    {
        for (auto at = side.pending.lower_bound({time, 0});
             at != side.pending.end() && at->first.time == time; ++at)
            if (isSameType(at->second, record))
                return true;
        return false;
    }

    void addOnlyIn(eDifference kind, Key const& key, Pending const& record)
    {
        TypeDifference& type = typeOf(record);
        ++(kind == eDifference::OnlyInA ? type.onlyInA : type.onlyInB);
        addToRun(kind, key, record);
    }

    void addDiffering(Key const& keyInA, Pending const& a, Pending const& b)
    {
        TypeDifference& type = typeOf(a);
        ++type.differing;
        unsigned char const* const payloadA = a.frame.frame().payload();
        unsigned char const* const payloadB = b.frame.frame().payload();
        auto const& fields = recordFields(a.frame.frame().index());
        for (size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].isEqual(payloadA, payloadB))
                continue;
            FieldDifference& field = type.fields[i];
            ++field.count;
            double const distance = std::abs(fields[i].value(payloadB) - fields[i].value(payloadA));
            if (std::isfinite(distance))
                field.largest = std::max(field.largest.value_or(0), distance);
        }
        addToRun(eDifference::Differing, keyInA, a);
    }

    void addToRun(eDifference kind, Key const& key, Pending const& record)
    {
        size_t& latest = m_latestRuns[static_cast<size_t>(kind)];
        if (latest < m_result.runs.size() && m_result.runs[latest].lastFrame + 1 == key.number) {
            DifferenceRun& run = m_result.runs[latest];
            ++run.count;
            run.lastFrame = key.number;
            run.lastTicks = record.ticks;
        } else if (m_result.runs.size() < DiffResult::MAX_RUNS) {
            latest = m_result.runs.size();
            m_result.runs.push_back({kind, 1, key.number, key.number, record.ticks, record.ticks,
                                     record.frame.frame().index()});
        } else {
            latest = SIZE_MAX;
        }
    }

    int64_t m_tolerance;
    Side m_a;
    Side m_b;
    DiffResult m_result = {};
    size_t m_latestRuns[3] = {SIZE_MAX, SIZE_MAX, SIZE_MAX}; // by kind
};

}

DiffResult diff(DiffOptions const& options, Progress& progress)
{
    if (options.shift)
        return Differ(options, {*options.shift, eShiftSource::Given}).run(progress);
    for (std::string const& file : {options.a, options.b})
        if (!InputFile::canBeReadTwice(file))
            throw FileError("the time shift takes two passes, which a pipe does not allow: give "
                            "files, or the shift by --shift");
    return Differ(options, findTimeShift(options.a, options.b, progress)).run(progress);
}
