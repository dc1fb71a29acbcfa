#include "log_kit/merge.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include "log_frames/file_error.h"
#include "log_kit/log_copy.h"
#include "log_kit/timed_frames.h"
#include "log_kit/utc_clock.h"

static constexpr int64_t ROUND = int64_t{1} << 32; // of the counter, in ms

// UTC has whole seconds and is a little late: two clocks of one counter differ by less.
static constexpr int64_t SAME_CLOCK = 3000; // ms

namespace
{

/// One of the logs, with its next frame in hand.
class Source
{
public:
    explicit Source(std::string const& file) : m_frames(file) { advance(); }

    bool hasFrame() const { return m_next.has_value(); }
    Frame frame() const { return m_next->frame; }
    bool hasTime() const { return m_next->hasTime; }

    /// When the frame in hand is due. Records before the first stamp of their log are due at once.
    int64_t time() const
    {
        return hasTime() ? m_next->time + m_offset : std::numeric_limits<int64_t>::min();
    }

    /// Moves the log to the round of the counter in which it begins nearest to `reference`.
    void moveNear(int64_t reference)
    {
        int64_t const distance = reference - m_next->time;
        m_offset = distance > ROUND / 2 ? ROUND : distance < -ROUND / 2 ? -ROUND : 0;
    }

    void takeFrame()
    {
        if (hasTime()) {
            m_first = m_first ? std::min(*m_first, time()) : time();
            m_last = m_last ? std::max(*m_last, time()) : time();
            m_clock.add(frame(), time());
        }
        advance();
    }

    InputFile const& input() const { return m_frames.input(); }
    uint64_t offset() const { return m_frames.offset(); }

    MergedLog result() const { return {m_frames.totals(), m_first, m_last, m_clock.timeOf(0)}; }

private:
    void advance() { m_next = m_frames.next(); }

    TimedFrames m_frames;
    std::optional<TimedFrame> m_next;
    int64_t m_offset = 0;
    std::optional<int64_t> m_first;
    std::optional<int64_t> m_last;
    UtcClock m_clock;
};

using Sources = std::vector<std::unique_ptr<Source>>;

}

static Sources openAll(std::vector<std::string> const& files)
{
    Sources sources;
    for (std::string const& file : files)
        sources.push_back(std::make_unique<Source>(file));
    return sources;
}

static std::optional<uint64_t> totalSize(Sources const& sources)
{
    uint64_t total = 0;
    for (auto const& source : sources) {
        auto const size = source->input().size();
        if (!size)
            return std::nullopt;
        total += *size;
    }
    return total;
}

namespace
{

/// Gives out the frames of all logs in order.
class Merger
{
public:
    Merger(Sources& sources, OutputFile& output, Progress& progress)
        : m_sources(sources),
          m_output(output),
          m_progress(progress)
    {}

    uint64_t run()
    {
        for (auto const& source : m_sources)
            while (source->hasFrame() && !source->hasTime())
                take(*source);

        auto const isLater = [this](size_t a, size_t b) { return due(b) < due(a); };
        for (size_t i = 0; i < m_sources.size(); ++i)
            if (m_sources[i]->hasFrame())
                m_heap.push_back(i);
        for (size_t const i : m_heap)
            m_sources[i]->moveNear(m_sources[m_heap.front()]->time());
        std::make_heap(m_heap.begin(), m_heap.end(), isLater);

        while (!m_heap.empty()) {
            std::pop_heap(m_heap.begin(), m_heap.end(), isLater);
            Source& source = *m_sources[m_heap.back()];
            take(source);
            if (source.hasFrame())
                std::push_heap(m_heap.begin(), m_heap.end(), isLater);
            else
                m_heap.pop_back();
        }
        return m_count;
    }

private:
    static constexpr uint64_t FRAMES_A_REPORT = 10000;

    // Of records of the same time, those of the first log come first.
    std::pair<int64_t, size_t> due(size_t source) const
    {
        return {m_sources[source]->time(), source};
    }

    void take(Source& source)
    {
        m_output.write(source.frame());
        source.takeFrame();
        if (++m_count % FRAMES_A_REPORT == 0)
            m_progress.at(bytesRead());
    }

    uint64_t bytesRead() const
    {
        uint64_t bytes = 0;
        for (auto const& source : m_sources)
            bytes += source->offset();
        return bytes;
    }

    Sources& m_sources;
    OutputFile& m_output;
    Progress& m_progress;
    std::vector<size_t> m_heap; // logs that are not at their end, the next one first
    uint64_t m_count = 0;
};

}

static std::vector<Overlap> findOverlaps(std::vector<MergedLog> const& logs)
{
    std::vector<Overlap> overlaps;
    for (size_t a = 0; a < logs.size(); ++a)
        for (size_t b = a + 1; b < logs.size(); ++b) {
            if (!logs[a].first || !logs[b].first)
                continue;
            int64_t const from = std::max(*logs[a].first, *logs[b].first);
            int64_t const to = std::min(*logs[a].last, *logs[b].last);
            bool const onlyTouch = from == to && (from == *logs[a].last || from == *logs[b].last);
            if (from <= to && !onlyTouch)
                overlaps.push_back({a, b, from, to});
        }
    return overlaps;
}

std::vector<std::pair<size_t, size_t>> MergeResult::otherClocks() const
{
    std::vector<std::pair<size_t, size_t>> pairs;
    for (size_t a = 0; a < logs.size(); ++a)
        for (size_t b = a + 1; b < logs.size(); ++b)
            if (logs[a].clock && logs[b].clock &&
                std::abs(*logs[a].clock - *logs[b].clock) > SAME_CLOCK)
                pairs.emplace_back(a, b);
    return pairs;
}

MergeResult merge(MergeOptions const& options, Progress& progress)
{
    Sources sources = openAll(options.inputs);
    for (auto const& source : sources)
        checkOutput(options.output, source->input());
    OutputFile output(options.output, existing(options.force));

    MergeResult result;
    progress.start(options.output, totalSize(sources));
    result.frames = Merger(sources, output, progress).run();
    for (auto const& source : sources)
        result.logs.push_back(source->result());
    result.overlaps = findOverlaps(result.logs);
    if (result.frames > 0)
        output.publish();
    return result;
}
