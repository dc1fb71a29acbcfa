#ifndef LOG_FRAMES_FRAME_COPY_H
#define LOG_FRAMES_FRAME_COPY_H

#include <array>
#include <cstring>

#include "log_frames/frame.h"

/// A frame in its own memory: to keep it, or to change fields in it and leave all other bytes as
/// they are.
class FrameCopy
{
public:
    explicit FrameCopy(Frame frame) { memcpy(m_bytes.data(), frame.bytes(), frame.size()); }

    Frame frame() const { return Frame(m_bytes.data()); }

    /// Reads a field, `at` bytes from the start of the payload.
    template <class Word>
    Word word(size_t at) const
    {
        return loadWord<Word>(m_bytes.data() + HEADER_SIZE + at);
    }
    template <class Word>
    void setWord(size_t at, Word value)
    {
        memcpy(m_bytes.data() + HEADER_SIZE + at, &value, sizeof value);
    }

private:
    std::array<unsigned char, LARGEST_FRAME> m_bytes;
};

#endif
