#include "packet_codec.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "sample_records.h"

namespace
{

template <class Record>
class PacketCodecTest : public testing::Test
{};

}

TYPED_TEST_SUITE(PacketCodecTest, AllRecords);

TYPED_TEST(PacketCodecTest, encodesToTheBytesOnTheWire)
{
    EXPECT_EQ(Sample<TypeParam>::PACKET, encodePacket(Sample<TypeParam>::RECORD));
}

TYPED_TEST(PacketCodecTest, decodesTheBytesOnTheWire)
{
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD),
              bytesOf(decodePacket<TypeParam>(Sample<TypeParam>::PACKET.data())));
}

TYPED_TEST(PacketCodecTest, decodesAnUnalignedPacket)
{
    auto const& packet = Sample<TypeParam>::PACKET;
    Bytes bytes = {0xEE};
    bytes.insert(bytes.end(), packet.begin(), packet.end());
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD),
              bytesOf(decodePacket<TypeParam>(bytes.data() + 1)));
}

TYPED_TEST(PacketCodecTest, decodesWhatItHasEncoded)
{
    auto const packet = encodePacket(Sample<TypeParam>::RECORD);
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD), bytesOf(decodePacket<TypeParam>(packet.data())));
}

TYPED_TEST(PacketCodecTest, decodesWhateverTheHeaderHolds)
{
    auto packet = Sample<TypeParam>::PACKET;
    for (size_t i = 0; i < 8; ++i)
        packet[i] = static_cast<unsigned char>(0xE0 + i);
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD), bytesOf(decodePacket<TypeParam>(packet.data())));
}

TEST(PacketCodec, givesBackRecordsThatAreEqual)
{
    EXPECT_EQ(Sample<GnssPvt>::RECORD,
              decodePacket<GnssPvt>(encodePacket(Sample<GnssPvt>::RECORD).data()));
    EXPECT_EQ(Sample<GnssData>::RECORD,
              decodePacket<GnssData>(encodePacket(Sample<GnssData>::RECORD).data()));
}

TEST(PacketCodec, stampsAGnssDatagramWithTheLaterSection)
{
    struct
    {
        uint32_t pvtTicks;
        uint32_t dopTicks;
        Bytes stamp;
    } const cases[] = {
        {0, 0, {0x00, 0x00, 0x00, 0x00}},
        {0x01020304, 0, {0x01, 0x02, 0x03, 0x04}},
        {0, 0x05060708, {0x05, 0x06, 0x07, 0x08}},
        {0x01020304, 0x05060708, {0x05, 0x06, 0x07, 0x08}},
        {0x090A0B0C, 0x05060708, {0x09, 0x0A, 0x0B, 0x0C}},
        {0xFFFFFFF0, 5, {0xFF, 0xFF, 0xFF, 0xF0}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.stamp));
        GnssData record = Sample<GnssData>::RECORD;
        record.pvt.ticks = c.pvtTicks;
        record.dop.ticks = c.dopTicks;
        auto const packet = encodePacket(record);
        EXPECT_EQ(c.stamp, Bytes(packet.begin() + 4, packet.begin() + 8));
        EXPECT_EQ(bytesOf(record), bytesOf(decodePacket<GnssData>(packet.data())));
    }
}

TEST(PacketCodec, carriesAnUnknownGnssSourceUnchanged)
{
    GnssData record = Sample<GnssData>::RECORD;
    record.source = static_cast<eGnssSource>(7);
    auto packet = Sample<GnssData>::PACKET;
    for (size_t i = 0; i < 4; ++i)
        packet[8 + i] = i < 3 ? 0 : 7;

    EXPECT_EQ(packet, encodePacket(record));
    EXPECT_EQ(record, decodePacket<GnssData>(packet.data()));
}

TEST(PacketCodec, carriesEveryFloatBitForBit)
{
    for (auto const& c : SPECIAL_FLOATS) {
        SCOPED_TRACE(c.name);
        ImuData imu = Sample<ImuData>::RECORD;
        imu.values[2] = floatOf(c.bits);
        auto imuPacket = Sample<ImuData>::PACKET;
        std::copy(c.net.begin(), c.net.end(), imuPacket.begin() + 20);
        EXPECT_EQ(imuPacket, encodePacket(imu));
        EXPECT_EQ(bytesOf(imu), bytesOf(decodePacket<ImuData>(imuPacket.data())));

        AttitudeData attitude = Sample<AttitudeData>::RECORD;
        attitude.values[3] = floatOf(c.bits);
        auto attitudePacket = Sample<AttitudeData>::PACKET;
        std::copy(c.net.begin(), c.net.end(), attitudePacket.begin() + 24);
        EXPECT_EQ(attitudePacket, encodePacket(attitude));
        EXPECT_EQ(bytesOf(attitude), bytesOf(decodePacket<AttitudeData>(attitudePacket.data())));
    }
}

TEST(PacketCodec, takesAnyFlagByteButZeroForTrueAndSendsOne)
{
    for (size_t flag = 0; flag < 4; ++flag) {
        for (unsigned char const byte : Bytes{0x00, 0x01, 0x02, 0x80, 0xFF}) {
            SCOPED_TRACE(testing::Message() << "flag " << flag << " byte " << int{byte});
            auto packet = Sample<AttitudeData>::PACKET;
            std::fill(packet.begin() + 28, packet.end(), static_cast<unsigned char>(0));
            packet[28 + flag] = byte;

            AttitudeData const record = decodePacket<AttitudeData>(packet.data());
            Bytes flags(4, 0);
            flags[flag] = byte != 0 ? 1 : 0;
            Bytes const memory = bytesOf(record);
            EXPECT_EQ(flags, Bytes(memory.begin() + 20, memory.end()));

            auto const sent = encodePacket(record);
            EXPECT_EQ(flags, Bytes(sent.begin() + 28, sent.end()));
        }
    }
}
