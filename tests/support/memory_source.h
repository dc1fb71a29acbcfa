#ifndef TESTS_MEMORY_SOURCE_H
#define TESTS_MEMORY_SOURCE_H

#include <algorithm>
#include <string>
#include <utility>

#include "log_frames/i_byte_source.h"

/// Bytes in memory, given out in pieces of one size.
class MemorySource : public IByteSource
{
public:
    explicit MemorySource(std::string bytes, size_t atATime = SIZE_MAX)
        : m_bytes(std::move(bytes)),
          m_atATime(atATime)
    {}

    size_t read(unsigned char* data, size_t size) override
    {
        size_t const count = std::min({size, m_atATime, m_bytes.size() - m_at});
        m_bytes.copy(reinterpret_cast<char*>(data), count, m_at);
        m_at += count;
        return count;
    }

private:
    std::string m_bytes;
    size_t m_atATime;
    size_t m_at = 0;
};

#endif
