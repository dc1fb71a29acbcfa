#ifndef TESTS_SAMPLE_RECORDS_H
#define TESTS_SAMPLE_RECORDS_H

#include <array>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "record_type.h"

using Bytes = std::vector<unsigned char>;
using AllRecords = ::testing::Types<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>;

inline Bytes operator+(Bytes bytes, Bytes const& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

/// A record of each type, with the device's datagram and the log frame that hold it, written out
/// from the formats. No two bytes of a number are alike.
template <class Record>
struct Sample;

template <>
struct Sample<ImuData>
{
    static constexpr ImuData RECORD = {0x01020304,
                                       {0x1.224466p-1F, -0x1.4286cap+1F, 0x1.62a4e8p+3F,
                                        -0x1.94d718p-3F, 0x1.bafd3ep+5F, -0x1.c10344p+7F}};
    static constexpr std::array<unsigned char, 36> PACKET = {
        0x01, 0x01, 0x24, 0x00, 0x01, 0x02, 0x03, 0x04, // type, marker, length, reserved, stamp
        0x01, 0x02, 0x03, 0x04,                         // ticks
        0x3F, 0x11, 0x22, 0x33,                         // values[0]
        0xC0, 0x21, 0x43, 0x65,                         // values[1]
        0x41, 0x31, 0x52, 0x74,                         // values[2]
        0xBE, 0x4A, 0x6B, 0x8C,                         // values[3]
        0x42, 0x5D, 0x7E, 0x9F,                         // values[4]
        0xC3, 0x60, 0x81, 0xA2,                         // values[5]
    };
    static constexpr std::array<unsigned char, 40> FRAME = {
        0x01, 0x01, 0x24, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
        0x04, 0x03, 0x02, 0x01,                         // ticks
        0x33, 0x22, 0x11, 0x3F,                         // values[0]
        0x65, 0x43, 0x21, 0xC0,                         // values[1]
        0x74, 0x52, 0x31, 0x41,                         // values[2]
        0x8C, 0x6B, 0x4A, 0xBE,                         // values[3]
        0x9F, 0x7E, 0x5D, 0x42,                         // values[4]
        0xA2, 0x81, 0x60, 0xC3,                         // values[5]
        0xD0, 0xC0, 0xB0, 0xA0,                         // footer
    };
};

template <>
struct Sample<GnssData>
{
    static constexpr GnssData RECORD = {static_cast<eGnssSource>(0x21222324),
                                        0x25262728,
                                        {0x292A2B2C, 0x2D2E2F30, 0x31323334, 0x35363738, 0x393A3B3C,
                                         0x3D3E3F40, 0x41424344, 0x45464748, 0x494A4B4C, 0x4D4E4F50,
                                         0x51525354, 0x55565758, 0x595A5B5C, 0x5D5E5F60, 0x61626364,
                                         0x65666768, 0x696A6B6C, 0x6D6E6F70},
                                        {0x71727374, 0x75767778, 0x797A7B7C, 0x7D7E7F80}};
    static constexpr std::array<unsigned char, 104> PACKET = {
        0x02, 0x01, 0x68, 0x00, 0x71, 0x72, 0x73, 0x74, // type, marker, length, reserved, stamp
        0x21, 0x22, 0x23, 0x24,                         // source
        0x25, 0x26, 0x27, 0x28,                         // constellations
        0x29, 0x2A, 0x2B, 0x2C,                         // pvt.ticks
        0x2D, 0x2E, 0x2F, 0x30,                         // pvt.fixType
        0x31, 0x32, 0x33, 0x34,                         // pvt.utcTime
        0x35, 0x36, 0x37, 0x38,                         // pvt.timeAccuracy
        0x39, 0x3A, 0x3B, 0x3C,                         // pvt.satelliteCount
        0x3D, 0x3E, 0x3F, 0x40,                         // pvt.longitude
        0x41, 0x42, 0x43, 0x44,                         // pvt.latitude
        0x45, 0x46, 0x47, 0x48,                         // pvt.altitude
        0x49, 0x4A, 0x4B, 0x4C,                         // pvt.horizontalAccuracy
        0x4D, 0x4E, 0x4F, 0x50,                         // pvt.verticalAccuracy
        0x51, 0x52, 0x53, 0x54,                         // pvt.velocityNorth
        0x55, 0x56, 0x57, 0x58,                         // pvt.velocityEast
        0x59, 0x5A, 0x5B, 0x5C,                         // pvt.velocityDown
        0x5D, 0x5E, 0x5F, 0x60,                         // pvt.groundSpeed
        0x61, 0x62, 0x63, 0x64,                         // pvt.headingOfMotion
        0x65, 0x66, 0x67, 0x68,                         // pvt.speedAccuracy
        0x69, 0x6A, 0x6B, 0x6C,                         // pvt.headingAccuracy
        0x6D, 0x6E, 0x6F, 0x70,                         // pvt.pDop
        0x71, 0x72, 0x73, 0x74,                         // dop.ticks
        0x75, 0x76, 0x77, 0x78,                         // dop.hDop
        0x79, 0x7A, 0x7B, 0x7C,                         // dop.pDop
        0x7D, 0x7E, 0x7F, 0x80,                         // dop.vDop
    };
    static constexpr std::array<unsigned char, 108> FRAME = {
        0x02, 0x01, 0x68, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
        0x24, 0x23, 0x22, 0x21,                         // source
        0x28, 0x27, 0x26, 0x25,                         // constellations
        0x2C, 0x2B, 0x2A, 0x29,                         // pvt.ticks
        0x30, 0x2F, 0x2E, 0x2D,                         // pvt.fixType
        0x34, 0x33, 0x32, 0x31,                         // pvt.utcTime
        0x38, 0x37, 0x36, 0x35,                         // pvt.timeAccuracy
        0x3C, 0x3B, 0x3A, 0x39,                         // pvt.satelliteCount
        0x40, 0x3F, 0x3E, 0x3D,                         // pvt.longitude
        0x44, 0x43, 0x42, 0x41,                         // pvt.latitude
        0x48, 0x47, 0x46, 0x45,                         // pvt.altitude
        0x4C, 0x4B, 0x4A, 0x49,                         // pvt.horizontalAccuracy
        0x50, 0x4F, 0x4E, 0x4D,                         // pvt.verticalAccuracy
        0x54, 0x53, 0x52, 0x51,                         // pvt.velocityNorth
        0x58, 0x57, 0x56, 0x55,                         // pvt.velocityEast
        0x5C, 0x5B, 0x5A, 0x59,                         // pvt.velocityDown
        0x60, 0x5F, 0x5E, 0x5D,                         // pvt.groundSpeed
        0x64, 0x63, 0x62, 0x61,                         // pvt.headingOfMotion
        0x68, 0x67, 0x66, 0x65,                         // pvt.speedAccuracy
        0x6C, 0x6B, 0x6A, 0x69,                         // pvt.headingAccuracy
        0x70, 0x6F, 0x6E, 0x6D,                         // pvt.pDop
        0x74, 0x73, 0x72, 0x71,                         // dop.ticks
        0x78, 0x77, 0x76, 0x75,                         // dop.hDop
        0x7C, 0x7B, 0x7A, 0x79,                         // dop.pDop
        0x80, 0x7F, 0x7E, 0x7D,                         // dop.vDop
        0xD0, 0xC0, 0xB0, 0xA0,                         // footer
    };
};

template <>
struct Sample<GnssPvt>
{
    static constexpr GnssPvt RECORD = {
        0xA1A2A3A4,  -0x5A595858, -0x56555454, 0xADAEAFB0, 0xB1B2B3B4,  -0x4A494848,
        -0x46454444, -0x42414040, 0xC1C2C3C4,  0xC5C6C7C8, -0x36353434, -0x32313030,
        -0x2E2D2C2C, -0x2A292828, -0x26252424, 0xDDDEDFE0, 0xE1E2E3E4,  0xE5E6E7E8};
    static constexpr std::array<unsigned char, 80> PACKET = {
        0x03, 0x01, 0x50, 0x00, 0xA1, 0xA2, 0xA3, 0xA4, // type, marker, length, reserved, stamp
        0xA1, 0xA2, 0xA3, 0xA4,                         // ticks
        0xA5, 0xA6, 0xA7, 0xA8,                         // fixType
        0xA9, 0xAA, 0xAB, 0xAC,                         // utcTime
        0xAD, 0xAE, 0xAF, 0xB0,                         // timeAccuracy
        0xB1, 0xB2, 0xB3, 0xB4,                         // satelliteCount
        0xB5, 0xB6, 0xB7, 0xB8,                         // longitude
        0xB9, 0xBA, 0xBB, 0xBC,                         // latitude
        0xBD, 0xBE, 0xBF, 0xC0,                         // altitude
        0xC1, 0xC2, 0xC3, 0xC4,                         // horizontalAccuracy
        0xC5, 0xC6, 0xC7, 0xC8,                         // verticalAccuracy
        0xC9, 0xCA, 0xCB, 0xCC,                         // velocityNorth
        0xCD, 0xCE, 0xCF, 0xD0,                         // velocityEast
        0xD1, 0xD2, 0xD3, 0xD4,                         // velocityDown
        0xD5, 0xD6, 0xD7, 0xD8,                         // groundSpeed
        0xD9, 0xDA, 0xDB, 0xDC,                         // headingOfMotion
        0xDD, 0xDE, 0xDF, 0xE0,                         // speedAccuracy
        0xE1, 0xE2, 0xE3, 0xE4,                         // headingAccuracy
        0xE5, 0xE6, 0xE7, 0xE8,                         // pDop
    };
    static constexpr std::array<unsigned char, 84> FRAME = {
        0x03, 0x01, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
        0xA4, 0xA3, 0xA2, 0xA1,                         // ticks
        0xA8, 0xA7, 0xA6, 0xA5,                         // fixType
        0xAC, 0xAB, 0xAA, 0xA9,                         // utcTime
        0xB0, 0xAF, 0xAE, 0xAD,                         // timeAccuracy
        0xB4, 0xB3, 0xB2, 0xB1,                         // satelliteCount
        0xB8, 0xB7, 0xB6, 0xB5,                         // longitude
        0xBC, 0xBB, 0xBA, 0xB9,                         // latitude
        0xC0, 0xBF, 0xBE, 0xBD,                         // altitude
        0xC4, 0xC3, 0xC2, 0xC1,                         // horizontalAccuracy
        0xC8, 0xC7, 0xC6, 0xC5,                         // verticalAccuracy
        0xCC, 0xCB, 0xCA, 0xC9,                         // velocityNorth
        0xD0, 0xCF, 0xCE, 0xCD,                         // velocityEast
        0xD4, 0xD3, 0xD2, 0xD1,                         // velocityDown
        0xD8, 0xD7, 0xD6, 0xD5,                         // groundSpeed
        0xDC, 0xDB, 0xDA, 0xD9,                         // headingOfMotion
        0xE0, 0xDF, 0xDE, 0xDD,                         // speedAccuracy
        0xE4, 0xE3, 0xE2, 0xE1,                         // headingAccuracy
        0xE8, 0xE7, 0xE6, 0xE5,                         // pDop
        0xD0, 0xC0, 0xB0, 0xA0,                         // footer
    };
};

template <>
struct Sample<AttitudeData>
{
    static constexpr AttitudeData RECORD = {
        0x0A0B0C0D,
        {0x1.2a4c6ep+9F, -0x1.507294p+11F, 0x1.b6d8fap-5F, -0x1.1d3f4p+0F},
        {true, false, true, true}};
    static constexpr std::array<unsigned char, 32> PACKET = {
        0x04, 0x01, 0x20, 0x00, 0x0A, 0x0B, 0x0C, 0x0D, // type, marker, length, reserved, stamp
        0x0A, 0x0B, 0x0C, 0x0D,                         // ticks
        0x44, 0x15, 0x26, 0x37,                         // values[0]
        0xC5, 0x28, 0x39, 0x4A,                         // values[1]
        0x3D, 0x5B, 0x6C, 0x7D,                         // values[2]
        0xBF, 0x8E, 0x9F, 0xA0,                         // values[3]
        0x01, 0x00, 0x01, 0x01,                         // flags
    };
    static constexpr std::array<unsigned char, 36> FRAME = {
        0x04, 0x01, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
        0x0D, 0x0C, 0x0B, 0x0A,                         // ticks
        0x37, 0x26, 0x15, 0x44,                         // values[0]
        0x4A, 0x39, 0x28, 0xC5,                         // values[1]
        0x7D, 0x6C, 0x5B, 0x3D,                         // values[2]
        0xA0, 0x9F, 0x8E, 0xBF,                         // values[3]
        0x01, 0x00, 0x01, 0x01,                         // flags
        0xD0, 0xC0, 0xB0, 0xA0,                         // footer
    };
};

template <>
struct Sample<GenericData>
{
    static constexpr GenericData RECORD = {0x11121314, {0xF1F2F3F4, 0x35363738}};
    static constexpr std::array<unsigned char, 20> PACKET = {
        0x05, 0x01, 0x14, 0x00, 0x11, 0x12, 0x13, 0x14, // type, marker, length, reserved, stamp
        0x11, 0x12, 0x13, 0x14,                         // ticks
        0xF1, 0xF2, 0xF3, 0xF4,                         // values[0]
        0x35, 0x36, 0x37, 0x38,                         // values[1]
    };
    static constexpr std::array<unsigned char, 24> FRAME = {
        0x05, 0x01, 0x14, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
        0x14, 0x13, 0x12, 0x11,                         // ticks
        0xF4, 0xF3, 0xF2, 0xF1,                         // values[0]
        0x38, 0x37, 0x36, 0x35,                         // values[1]
        0xD0, 0xC0, 0xB0, 0xA0,                         // footer
    };
};

/// Calls `action` with the sample of each type, in the order of their codes.
template <class Action>
void forEachSample(Action const& action)
{
    action(Sample<ImuData>());
    action(Sample<GnssData>());
    action(Sample<GnssPvt>());
    action(Sample<AttitudeData>());
    action(Sample<GenericData>());
}

/// The bytes of the record in memory. No record has padding.
template <class Record>
Bytes bytesOf(Record const& record)
{
    Bytes bytes(sizeof record);
    memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

/// A byte array in the form that bytesOf and the files give.
template <class Container>
Bytes toBytes(Container const& container)
{
    return {container.begin(), container.end()};
}

/// The bytes between the header and the footer of the sample's frame.
template <class Record>
Bytes samplePayload()
{
    auto const& frame = Sample<Record>::FRAME;
    return {frame.begin() + 8, frame.end() - 4};
}

/// The frames of the given records back to back.
template <class... Records>
Bytes sampleFrames()
{
    Bytes bytes;
    (bytes.insert(bytes.end(), Sample<Records>::FRAME.begin(), Sample<Records>::FRAME.end()), ...);
    return bytes;
}

inline float floatOf(uint32_t bits)
{
    float value = 0;
    memcpy(&value, &bits, sizeof value);
    return value;
}

struct FloatCase
{
    char const* name;
    uint32_t bits;
    std::array<unsigned char, 4> net; // big-endian, as on the wire
};

/// Values that arithmetic or a comparison could spoil. They must pass bit for bit.
inline constexpr FloatCase SPECIAL_FLOATS[] = {
    {"one", 0x3F800000, {0x3F, 0x80, 0x00, 0x00}},
    {"ordinary", 0xC3456789, {0xC3, 0x45, 0x67, 0x89}},
    {"zero", 0x00000000, {0x00, 0x00, 0x00, 0x00}},
    {"negative zero", 0x80000000, {0x80, 0x00, 0x00, 0x00}},
    {"infinity", 0x7F800000, {0x7F, 0x80, 0x00, 0x00}},
    {"negative infinity", 0xFF800000, {0xFF, 0x80, 0x00, 0x00}},
    {"smallest denormal", 0x00000001, {0x00, 0x00, 0x00, 0x01}},
    {"negative denormal", 0x80123456, {0x80, 0x12, 0x34, 0x56}},
    {"largest", 0x7F7FFFFF, {0x7F, 0x7F, 0xFF, 0xFF}},
    {"quiet NaN with a payload", 0x7FC12345, {0x7F, 0xC1, 0x23, 0x45}},
    {"negative quiet NaN", 0xFFD23456, {0xFF, 0xD2, 0x34, 0x56}},
    {"signalling NaN", 0x7FA34567, {0x7F, 0xA3, 0x45, 0x67}},
};

#endif
