#ifndef LOG_FRAMES_LOOK_AHEAD_H
#define LOG_FRAMES_LOOK_AHEAD_H

#include <cstddef>
#include <memory>

#include "log_frames/i_byte_source.h"

/// The next bytes of a source, in one piece of memory, so that a decision can look at them before
/// they are taken.
class LookAhead
{
public:
    /// `source` must outlive this.
    explicit LookAhead(IByteSource& source);

    /// Reads until there are so many bytes or the source ends; moves the bytes. `size` must be far
    /// less than the buffer of 256 KiB. Throws what the source throws.
    void require(size_t size)
    {
        if (available() < size && !m_isAtEnd)
            fill(size);
    }

    unsigned char const* bytes() const { return m_buffer.get() + m_begin; }
    size_t available() const { return m_end - m_begin; }
    void skip(size_t count) { m_begin += count; }

    /// Whether the source has nothing beyond the available bytes; known only after it was read.
    bool isAtEnd() const { return m_isAtEnd; }

private:
    void fill(size_t size);

    IByteSource& m_source;
    std::unique_ptr<unsigned char[]> m_buffer;
    size_t m_begin = 0;
    size_t m_end = 0;
    bool m_isAtEnd = false;
};

#endif
