#include "log_frames/checksum.h"

#include <algorithm>
#include <cstring>

#include "log_frames/frame_layout.h"

void Checksum::add(unsigned char const* data, size_t size)
{
    if (m_restSize > 0) {
        size_t const count = std::min(size, BLOCK - m_restSize);
        memcpy(m_rest + m_restSize, data, count);
        m_restSize += count;
        data += count;
        size -= count;
        if (m_restSize < BLOCK)
            return;
        addBlocks(m_rest, 1);
    }
    addBlocks(data, size / BLOCK);
    m_restSize = size % BLOCK;
    memcpy(m_rest, data + (size - m_restSize), m_restSize);
}

void Checksum::addBlocks(unsigned char const* data, size_t count)
{
    // In copies: for all that the compiler knows, the data could lie in this very object.
    uint64_t sums[LANES];
    uint64_t sumsOfSums[LANES];
    memcpy(sums, m_sums, sizeof sums);
    memcpy(sumsOfSums, m_sumsOfSums, sizeof sumsOfSums);
    for (size_t block = 0; block < count; ++block, data += BLOCK)
        for (size_t lane = 0; lane < LANES; ++lane) {
            sums[lane] += loadWord<uint64_t>(data + lane * sizeof(uint64_t));
            sumsOfSums[lane] += sums[lane];
        }
    memcpy(m_sums, sums, sizeof sums);
    memcpy(m_sumsOfSums, sumsOfSums, sizeof sumsOfSums);
}

bool Checksum::operator==(Checksum const& other) const
{
    return memcmp(m_sums, other.m_sums, sizeof m_sums) == 0 &&
           memcmp(m_sumsOfSums, other.m_sumsOfSums, sizeof m_sumsOfSums) == 0 &&
           m_restSize == other.m_restSize && memcmp(m_rest, other.m_rest, m_restSize) == 0;
}
