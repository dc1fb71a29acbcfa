#include "log_kit/split.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "log_frames/file_error.h"
#include "log_kit/log_copy.h"
#include "log_kit/timed_frames.h"

std::string partName(std::string const& prefix, unsigned number)
{
    char digits[16];
    snprintf(digits, sizeof digits, "-%04u", number);
    return prefix + digits + ".log";
}

namespace
{

/// Decides where parts end, and writes them.
class Splitter
{
public:
    explicit Splitter(SplitOptions const& options) : m_options(options) {}

    void add(TimedFrame const& timed, InputFile const& input)
    {
        if (m_parts.empty() || endsPart(timed))
            startPart(timed, input);
        m_output->write(timed.frame);
        SplitPart& part = m_parts.back();
        ++part.frames;
        part.bytes += timed.frame.size();
        if (!timed.hasTime)
            return;
        if (!m_hasTime) {
            m_hasTime = true;
            m_first = m_latest = part.first = part.last = timed.time;
        }
        m_latest = std::max(m_latest, timed.time);
        part.last = std::max(part.last, timed.time);
    }

    std::vector<SplitPart> publish()
    {
        finishPart();
        for (auto const& output : m_finished)
            output->publish();
        return m_parts;
    }

private:
    bool endsPart(TimedFrame const& timed)
    {
        if (m_options.size && m_parts.back().bytes + timed.frame.size() > *m_options.size)
            return true;
        if (!timed.hasTime || !m_hasTime)
            return false;
        if (m_options.gap && (timed.isRestart || timed.time - m_latest > *m_options.gap))
            return true;
        // A record out of order stays in the part in hand.
        return m_options.every && (timed.time - m_first) / *m_options.every > m_period;
    }

    void startPart(TimedFrame const& timed, InputFile const& input)
    {
        finishPart();
        if (m_parts.size() == MAX_PARTS)
            throw FileError("more than " + std::to_string(MAX_PARTS) +
                            " parts: choose larger ones; nothing was written");
        std::string const name =
            partName(m_options.prefix, static_cast<unsigned>(m_parts.size()) + 1);
        checkOutput(name, input);
        m_output = std::make_unique<OutputFile>(name, existing(m_options.force));
        m_parts.push_back({name, 0, 0, timed.time, timed.time});
        if (m_options.every && m_hasTime)
            m_period = std::max(m_period, (timed.time - m_first) / *m_options.every);
    }

    void finishPart()
    {
        if (!m_output)
            return;
        m_output->finish();
        m_finished.push_back(std::move(m_output));
    }

    SplitOptions const& m_options;
    std::vector<SplitPart> m_parts;
    std::unique_ptr<OutputFile> m_output;                // of the last part
    std::vector<std::unique_ptr<OutputFile>> m_finished; // of those before it
    bool m_hasTime = false;
    int64_t m_first = 0;
    int64_t m_latest = 0;
    int64_t m_period = 0; // of `every`, since m_first
};

}

SplitResult split(SplitOptions const& options, Progress& progress)
{
    TimedFrames frames(options.input);
    Splitter splitter(options);
    progress.start(frames.input().name(), frames.input().size());
    while (auto const timed = frames.next()) {
        splitter.add(*timed, frames.input());
        progress.at(frames.offset());
    }
    return {frames.totals(), splitter.publish()};
}
