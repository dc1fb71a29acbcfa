#ifndef LOG_FRAMES_REPLAY_READER_H
#define LOG_FRAMES_REPLAY_READER_H

#include <optional>

#include "log_frames/frame.h"
#include "log_frames/look_ahead.h"

/// Reads a log as log_tool -r does: from the start to the first frame whose type, version or footer
/// is wrong. Neither the length and the reserved bytes of a header count, nor what a payload looks
/// like. For what stands after damage there is the Scanner.
class ReplayReader
{
public:
    /// `source` must outlive this.
    explicit ReplayReader(IByteSource& source) : m_log(source) {}

    /// Nothing at the end of the log and at damage. The frame is valid until the next call. Throws
    /// what the source throws.
    std::optional<Frame> next();

    /// After next() has given nothing: whether that was the end of the log, and not damage.
    bool isAtEnd() const { return m_log.available() == 0; }

private:
    LookAhead m_log;
};

#endif
