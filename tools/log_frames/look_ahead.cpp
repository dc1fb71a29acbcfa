#include "log_frames/look_ahead.h"

#include <cstring>

// Large enough that reads cost little, small enough for the processor's cache.
static constexpr size_t BUFFER_SIZE = size_t{256} << 10;

LookAhead::LookAhead(IByteSource& source)
    : m_source(source),
      m_buffer(new unsigned char[BUFFER_SIZE])
{}

void LookAhead::fill(size_t size)
{
    memmove(m_buffer.get(), bytes(), available());
    m_end = available();
    m_begin = 0;
    // A pipe gives little at a time; that is taken as soon as it is enough.
    while (!m_isAtEnd && m_end < size) {
        size_t const count = m_source.read(m_buffer.get() + m_end, BUFFER_SIZE - m_end);
        m_end += count;
        m_isAtEnd = count == 0;
    }
}
