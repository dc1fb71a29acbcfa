#ifndef LOG_FRAMES_CHECKSUM_H
#define LOG_FRAMES_CHECKSUM_H

#include <cstddef>
#include <cstdint>

/// A checksum as fast as memory, to compare what was written with what is read back: it tells any
/// change of bytes that chance makes, and their order. Not for hostile data.
class Checksum
{
public:
    /// How the bytes are divided among calls does not matter.
    void add(unsigned char const* data, size_t size);

    bool operator==(Checksum const& other) const;
    bool operator!=(Checksum const& other) const { return !(*this == other); }

private:
    static constexpr size_t LANES = 8; // that a processor adds at a time
    static constexpr size_t BLOCK = LANES * sizeof(uint64_t);

    void addBlocks(unsigned char const* data, size_t count);

    uint64_t m_sums[LANES] = {};
    uint64_t m_sumsOfSums[LANES] = {}; // these know the order
    unsigned char m_rest[BLOCK] = {};  // bytes that are no block yet
    size_t m_restSize = 0;
};

#endif
