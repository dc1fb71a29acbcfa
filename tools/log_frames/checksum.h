#ifndef LOG_FRAMES_CHECKSUM_H
#define LOG_FRAMES_CHECKSUM_H

#include <cstddef>
#include <cstdint>

/// A fast checksum of a sequence of blocks, to compare what was written with what is read back.
/// Equal only for the same bytes in the same blocks. Not for hostile data.
class Checksum
{
public:
    void add(unsigned char const* block, size_t size);

    bool operator==(Checksum const& other) const;
    bool operator!=(Checksum const& other) const { return !(*this == other); }

private:
    static constexpr size_t LANES = 4; // multiplications that a processor does at a time

    uint64_t m_lanes[LANES] = {1, 2, 3, 4};
};

#endif
