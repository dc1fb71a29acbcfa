#ifndef LOG_FRAMES_I_BYTE_SOURCE_H
#define LOG_FRAMES_I_BYTE_SOURCE_H

#include <cstddef>

/// Where a scanner gets its bytes: a file, a pipe, a test's memory.
class IByteSource
{
public:
    virtual ~IByteSource() = default;

    /// Reads up to `size` bytes and returns how many; 0 at the end only. Called with large sizes.
    /// Throws what the source throws when it cannot be read.
    virtual size_t read(unsigned char* data, size_t size) = 0;
};

#endif
