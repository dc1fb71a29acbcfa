#include "log_frames/replay_reader.h"

std::optional<Frame> ReplayReader::next()
{
    m_log.require(LARGEST_FRAME);
    size_t const size = replayedFrameSize(m_log.bytes(), m_log.available());
    if (size == 0)
        return std::nullopt;

    Frame const frame(m_log.bytes());
    m_log.skip(size);
    return frame;
}
