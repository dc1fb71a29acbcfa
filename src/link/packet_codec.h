#ifndef LINK_PACKET_CODEC_H
#define LINK_PACKET_CODEC_H

#include <array>
#include <cstdint>
#include <cstring>

#include <arpa/inet.h>

#include "packet_format.h"
#include "xdr.h"

/// Reads fields from a datagram, from the first byte of its payload. The caller has checked the
/// size.
class PacketReader
{
public:
    explicit PacketReader(unsigned char const* payload) : m_next(payload) {}

    /// Any 32-bit integer or enumeration, bit for bit.
    template <class Word>
    void word(Word& value)
    {
        static_assert(sizeof(Word) == sizeof(uint32_t));
        uint32_t net = 0;
        memcpy(&net, m_next, sizeof net);
        value = static_cast<Word>(ntohl(net));
        m_next += sizeof net;
    }
    void real(float& value)
    {
        Xdr().netToFloat(m_next, value);
        m_next += sizeof value;
    }

    /// Any byte other than 0 is true.
    void flag(bool& value) { value = *m_next++ != 0; }

private:
    unsigned char const* m_next;
};

/// Writes fields into a datagram, from the given byte on. The caller has provided the room.
class PacketWriter
{
public:
    explicit PacketWriter(unsigned char* to) : m_next(to) {}

    void byte(uint8_t value) { *m_next++ = value; }
    template <class Word>
    void word(Word const& value)
    {
        static_assert(sizeof(Word) == sizeof(uint32_t));
        uint32_t const net = htonl(static_cast<uint32_t>(value));
        memcpy(m_next, &net, sizeof net);
        m_next += sizeof net;
    }
    void real(float const& value)
    {
        Xdr().floatToNet(value, m_next);
        m_next += sizeof value;
    }
    void flag(bool const& value) { byte(value ? 1 : 0); }

private:
    unsigned char* m_next;
};

template <class Record>
Record decodePacket(unsigned char const* packet)
{
    Record record;
    PacketReader reader(packet + PACKET_HEADER_SIZE);
    PacketFormat<Record>::fields(reader, record);
    return record;
}

template <class Record>
std::array<unsigned char, packetSize<Record>()> encodePacket(Record const& record)
{
    static constexpr uint8_t MARKER = 1;

    std::array<unsigned char, packetSize<Record>()> packet = {};
    PacketWriter writer(packet.data());
    writer.byte(RecordType<Record>::CODE);
    writer.byte(MARKER);
    writer.byte(packetSize<Record>());
    writer.byte(0);
    writer.word(ticksOf(record));
    PacketFormat<Record>::fields(writer, record);
    return packet;
}

#endif
