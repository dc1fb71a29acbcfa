#include "log_kit/dump.h"

#include "log_kit/followed_log.h"

namespace
{

/// Hands on the records that the filter accepts.
class Dumper
{
public:
    Dumper(DumpOptions const& options, DumpOutput const& output)
        : m_filter(makeFilter(options.filter, options.file)),
          m_output(output)
    {}

    void add(Stretch const& stretch)
    {
        for (Frame const frame : stretch.frames) {
            bool const isAccepted = m_filter.accepts(frame);
            TimeLine const& timeLine = m_filter.timeLine();
            if (isAccepted)
                m_output.onRecord(
                    {frame, m_number,
                     stretch.offset + static_cast<uint64_t>(frame.bytes() - stretch.frames.bytes()),
                     timeLine.hasStarted() ? m_filter.time() - timeLine.first() : 0});
            ++m_number;
        }
    }

private:
    RecordFilter m_filter;
    DumpOutput const& m_output;
    uint64_t m_number = 0;
};

}

LogTotals dump(DumpOptions const& options, DumpOutput const& output)
{
    Dumper dumper(options, output);
    InputFile input(options.file);
    Progress progress;
    return walkLog(
        input, progress, [&](Stretch const& stretch) { dumper.add(stretch); }, output.onRegion);
}

void follow(DumpOptions const& options, DumpOutput const& output, FollowHooks const& hooks)
{
    FollowedLog log(options.file);
    std::optional<Dumper> dumper(std::in_place, options, output);
    do {
        log.readNew([&](Stretch const& stretch) { dumper->add(stretch); }, output.onRegion);
        if (log.hasBegunAgain()) {
            hooks.onBeginAgain();
            dumper.emplace(options, output);
        }
    } while (hooks.wait());
}
