#ifndef LINK_PACKET_FORMAT_H
#define LINK_PACKET_FORMAT_H

#include <cstdint>

#include "record_type.h"

// The device's datagrams, the same in both directions: an 8-byte header and the payload.
//
//   offset  size
//        0     1  type: the record's type code
//        1     1  marker: 1
//        2     1  length: the whole datagram's
//        3     1  reserved: 0
//        4     4  stamp: the record's time stamp, big-endian
//        8        payload: the record's fields in order
//
// Only the type of a received header is used: the device may put anything into the other fields,
// and it may pad its datagrams.

constexpr unsigned PACKET_HEADER_SIZE = 8;

/// The payload in wire order. Codec decides the direction: PacketReader takes the record's fields
/// as targets, PacketWriter as sources.
template <class Record>
struct PacketFormat;

template <>
struct PacketFormat<ImuData>
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.ticks);     // 8
        codec.real(r.values[0]); // 12
        codec.real(r.values[1]); // 16
        codec.real(r.values[2]); // 20
        codec.real(r.values[3]); // 24
        codec.real(r.values[4]); // 28
        codec.real(r.values[5]); // 32
    }
};

template <>
struct PacketFormat<GnssPvt>
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.ticks);              // 8
        codec.word(r.fixType);            // 12
        codec.word(r.utcTime);            // 16
        codec.word(r.timeAccuracy);       // 20
        codec.word(r.satelliteCount);     // 24
        codec.word(r.longitude);          // 28
        codec.word(r.latitude);           // 32
        codec.word(r.altitude);           // 36
        codec.word(r.horizontalAccuracy); // 40
        codec.word(r.verticalAccuracy);   // 44
        codec.word(r.velocityNorth);      // 48
        codec.word(r.velocityEast);       // 52
        codec.word(r.velocityDown);       // 56
        codec.word(r.groundSpeed);        // 60
        codec.word(r.headingOfMotion);    // 64
        codec.word(r.speedAccuracy);      // 68
        codec.word(r.headingAccuracy);    // 72
        codec.word(r.pDop);               // 76
    }
};

template <>
struct PacketFormat<GnssDop> // a section of GnssData, never a datagram
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.ticks);
        codec.word(r.hDop);
        codec.word(r.pDop);
        codec.word(r.vDop);
    }
};

template <>
struct PacketFormat<GnssData>
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.source);                        // 8
        codec.word(r.constellations);                // 12
        PacketFormat<GnssPvt>::fields(codec, r.pvt); // 16..87
        PacketFormat<GnssDop>::fields(codec, r.dop); // 88, 92, 96, 100
    }
};

template <>
struct PacketFormat<AttitudeData>
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.ticks);     // 8
        codec.real(r.values[0]); // 12
        codec.real(r.values[1]); // 16
        codec.real(r.values[2]); // 20
        codec.real(r.values[3]); // 24
        for (auto& flag : r.flags)
            codec.flag(flag); // 28..31
    }
};

template <>
struct PacketFormat<GenericData>
{
    template <class Codec, class Record>
    static constexpr void fields(Codec& codec, Record& r)
    {
        codec.word(r.ticks); // 8
        for (auto& value : r.values)
            codec.word(value); // 12, 16
    }
};

/// Adds up the sizes of the fields.
class PacketSizer
{
public:
    template <class Word>
    constexpr void word(Word const&)
    {
        static_assert(sizeof(Word) == 4);
        m_size += 4;
    }
    constexpr void real(float const&) { m_size += 4; }
    constexpr void flag(bool const&) { m_size += 1; }

    constexpr unsigned size() const { return m_size; }

private:
    unsigned m_size = 0;
};

/// The size of a datagram, header included.
template <class Record>
constexpr unsigned packetSize()
{
    PacketSizer sizer;
    Record const record = {};
    PacketFormat<Record>::fields(sizer, record);
    return PACKET_HEADER_SIZE + sizer.size();
}

// With a field forgotten above, this does not compile.
template <class Record>
inline constexpr bool
    IS_PACKET_COMPLETE = packetSize<Record>() == PACKET_HEADER_SIZE
                                                     + RecordType<Record>::PAYLOAD_SIZE;
static_assert(IS_PACKET_COMPLETE<ImuData> && IS_PACKET_COMPLETE<GnssData> &&
              IS_PACKET_COMPLETE<GnssPvt> && IS_PACKET_COMPLETE<AttitudeData> &&
              IS_PACKET_COMPLETE<GenericData>);

#endif
