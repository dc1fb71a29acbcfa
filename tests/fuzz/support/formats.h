#ifndef FUZZ_FORMATS_H
#define FUZZ_FORMATS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "require.h"

// The formats of docs/datagrams.md and docs/log_format.md, written a second time without using the
// sources, to judge them: a payload is words of 4 bytes, big-endian in a datagram and little-endian
// in memory and in a log. Only an attitude ends in 4 flags.

constexpr size_t HEADER_SIZE = 8; // of datagrams and frames alike
constexpr size_t FOOTER_SIZE = 4;
constexpr uint8_t ATTITUDE = 4;

/// Up to a whole datagram of the longest type.
class Bytes
{
public:
    void append(uint8_t const* from, size_t size)
    {
        require(size <= m_bytes.size() - m_size, "nothing is longer than a GnssData datagram");
        memcpy(m_bytes.data() + m_size, from, size);
        m_size += size;
    }

    uint8_t const* data() const { return m_bytes.data(); }
    uint8_t* data() { return m_bytes.data(); }
    size_t size() const { return m_size; }
    bool operator==(Bytes const& other) const
    {
        return m_size == other.m_size && memcmp(data(), other.data(), m_size) == 0;
    }

private:
    std::array<uint8_t, 104> m_bytes = {};
    size_t m_size = 0;
};

/// The payload size of a record type; 0 for an unknown one.
inline size_t payloadSize(uint8_t type)
{
    static constexpr size_t SIZES[] = {0, 28, 96, 72, 24, 12};
    return type < std::size(SIZES) ? SIZES[type] : 0;
}

/// The record in memory that a payload in a log becomes: the same bytes, except that a flag becomes
/// 0 or 1.
inline Bytes recordInFrame(uint8_t type, uint8_t const* payload)
{
    static constexpr size_t FLAGS_AT = 20;
    Bytes record;
    record.append(payload, payloadSize(type));
    if (type == ATTITUDE) {
        for (size_t at = FLAGS_AT; at < record.size(); ++at)
            record.data()[at] = payload[at] != 0;
    }
    return record;
}

/// The record in memory that a payload in a datagram becomes, or the other way round.
inline Bytes inOtherByteOrder(uint8_t type, uint8_t const* payload)
{
    Bytes record = recordInFrame(type, payload);
    size_t const words = record.size() / 4 - (type == ATTITUDE ? 1 : 0);
    for (size_t word = 0; word < words; ++word)
        std::reverse(record.data() + 4 * word, record.data() + 4 * word + 4);
    return record;
}

/// The time stamp of a payload in a datagram, big-endian.
inline uint8_t const* stampIn(uint8_t type, uint8_t const* payload)
{
    static constexpr uint8_t GNSS_DATA = 2;
    if (type != GNSS_DATA)
        return payload;

    uint8_t const* const pvt = payload + 8;
    uint8_t const* const dop = payload + 80;
    return std::lexicographical_compare(pvt, pvt + 4, dop, dop + 4) ? dop : pvt;
}

/// The datagram that the record is sent in.
inline Bytes datagramOf(uint8_t type, Bytes const& record)
{
    Bytes const payload = inOtherByteOrder(type, record.data());
    uint8_t const header[] = {type, 1, static_cast<uint8_t>(HEADER_SIZE + payload.size()), 0};
    Bytes datagram;
    datagram.append(header, sizeof header);
    datagram.append(stampIn(type, payload.data()), 4);
    datagram.append(payload.data(), payload.size());
    return datagram;
}

#endif
