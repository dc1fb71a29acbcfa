#ifndef LOG_KIT_TIMED_FRAMES_H
#define LOG_KIT_TIMED_FRAMES_H

#include <cstdint>
#include <optional>
#include <string>

#include "log_frames/frame_copy.h"
#include "log_frames/input_file.h"
#include "log_frames/scanner.h"
#include "log_kit/log_walk.h"
#include "log_kit/time_line.h"

/// A frame with its time on the log's time line, in ms.
struct TimedFrame
{
    Frame frame;
    int64_t time;    // means nothing without hasTime
    bool hasTime;    // false only before the first record with a stamp
    bool isStray;    // its stamp is far off; it has the time of the record before it
    bool isRestart;  // the counter began again here
    uint64_t number; // from 0
};

/// Reads a log frame by frame, in the order of the file. Damage is passed over and counted.
class TimedFrames
{
public:
    /// Throws FileError like InputFile; so does next().
    explicit TimedFrames(std::string const& file) : m_input(file), m_scanner(m_input) {}

    /// The next frame, valid until the next call; nothing at the end.
    std::optional<TimedFrame> next();

    InputFile const& input() const { return m_input; }
    TimeLine const& timeLine() const { return m_timeLine; }
    uint64_t offset() const { return m_scanner.offset(); } // up to which the input has been read

    /// Of what was read so far.
    LogTotals totals() const;

private:
    std::optional<TimedFrame> read();
    bool readStretch();

    InputFile m_input;
    Scanner m_scanner;
    RegionCollector m_regions;
    TimeLine m_timeLine;
    std::optional<Stretch> m_stretch;
    unsigned char const* m_at = nullptr; // the next frame in it
    uint64_t m_number = 0;
    std::optional<FrameCopy> m_held;   // a frame whose time the one after it decides
    std::optional<TimedFrame> m_ahead; // that one
    int64_t m_latestTime = 0;
};

#endif
