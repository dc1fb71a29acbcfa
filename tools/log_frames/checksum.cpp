#include "log_frames/checksum.h"

#include <cstring>

#include "log_frames/frame_layout.h"

// Odd: a change of any bit of a word changes the lane, and stays in it.
static constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;

void Checksum::add(unsigned char const* block, size_t size)
{
    uint64_t lanes[LANES];
    memcpy(lanes, m_lanes, sizeof lanes);

    size_t at = 0;
    for (; at + sizeof lanes <= size; at += sizeof lanes)
        for (size_t lane = 0; lane < LANES; ++lane) {
            uint64_t const mixed =
                (lanes[lane] ^ loadWord<uint64_t>(block + at + lane * sizeof(uint64_t))) * FACTOR;
            lanes[lane] = mixed ^ mixed >> 32;
        }
    for (; at < size; ++at)
        lanes[0] = (lanes[0] ^ block[at]) * FACTOR;
    lanes[1] = (lanes[1] ^ size) * FACTOR;
    memcpy(m_lanes, lanes, sizeof lanes);
}

bool Checksum::operator==(Checksum const& other) const
{
    return memcmp(m_lanes, other.m_lanes, sizeof m_lanes) == 0;
}
