#include "udp_packet_analyzer.h"

#include <csignal>
#include <functional>

#include <gtest/gtest.h>

#include "child_process.h"
#include "sample_records.h"

namespace
{

template <class Record>
class UdpPacketAnalyzerTest : public testing::Test
{
protected:
    /// The sample's datagram with another first byte and of another length, filled up with 0xEE.
    static Bytes packet(unsigned char type, size_t size)
    {
        Bytes bytes = toBytes(Sample<Record>::PACKET);
        bytes[0] = type;
        bytes.resize(size, 0xEE);
        bytes.shrink_to_fit(); // so that a sanitizer sees a read past the end
        return bytes;
    }

    static constexpr unsigned char TYPE = Sample<Record>::PACKET[0];
    static constexpr unsigned SIZE = Sample<Record>::PACKET.size();

    UdpPacketAnalyzer<Record> m_udpAnalyzer;
    IUdpPacketAnalyzer<Record> const& m_analyzer = m_udpAnalyzer;
};

}

static void expectPanic(std::string const& output, std::function<void()> const& action)
{
    ChildResult const result = runInChild(action);
    EXPECT_EQ(SIGABRT, result.signal());
    EXPECT_EQ(output, result.output);
}

TYPED_TEST_SUITE(UdpPacketAnalyzerTest, AllRecords);

TYPED_TEST(UdpPacketAnalyzerTest, recognisesItsTypeByTheFirstByteAlone)
{
    for (unsigned type = 0; type < 256; ++type) {
        SCOPED_TRACE(type);
        Bytes const packet = this->packet(static_cast<unsigned char>(type), 8);
        EXPECT_EQ(type == this->TYPE, this->m_analyzer.isType(packet.data(), 8));
    }
}

TYPED_TEST(UdpPacketAnalyzerTest, recognisesItsTypeAtAnyLengthFromTheHeadersOn)
{
    for (unsigned const size : {8U, 9U, this->SIZE - 1, this->SIZE, this->SIZE + 1, 1600U}) {
        SCOPED_TRACE(size);
        Bytes const packet = this->packet(this->TYPE, size);
        EXPECT_TRUE(this->m_analyzer.isType(packet.data(), size));
    }
}

TYPED_TEST(UdpPacketAnalyzerTest, decodesItsDatagram)
{
    Bytes const packet = this->packet(this->TYPE, this->SIZE);
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD),
              bytesOf(this->m_analyzer.getData(packet.data(), this->SIZE)));
}

TYPED_TEST(UdpPacketAnalyzerTest, ignoresWhatFollowsThePayload)
{
    for (unsigned const extra : {1U, 4U, 100U}) {
        SCOPED_TRACE(extra);
        Bytes const packet = this->packet(this->TYPE, this->SIZE + extra);
        EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD),
                  bytesOf(this->m_analyzer.getData(packet.data(), this->SIZE + extra)));
    }
}

TYPED_TEST(UdpPacketAnalyzerTest, ignoresTheHeaderBehindTheType)
{
    Bytes packet = this->packet(this->TYPE, this->SIZE);
    for (size_t i = 1; i < 8; ++i)
        packet[i] = static_cast<unsigned char>(0xE0 + i);
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD),
              bytesOf(this->m_analyzer.getData(packet.data(), this->SIZE)));
}

TYPED_TEST(UdpPacketAnalyzerTest, panicsOnADatagramShorterThanAHeader)
{
    for (unsigned const size : {0U, 4U, 7U}) {
        SCOPED_TRACE(size);
        Bytes const packet = this->packet(this->TYPE, size);
        expectPanic("Panic: *** ASSERT in playback_controller at 22\n",
                    [&] { this->m_analyzer.isType(packet.data(), size); });
        expectPanic("Panic: *** ASSERT in playback_controller at 22\n",
                    [&] { this->m_analyzer.getData(packet.data(), size); });
    }
}

TYPED_TEST(UdpPacketAnalyzerTest, panicsWhenAskedToDecodeAnotherType)
{
    for (unsigned char type = 0; type < 7; ++type) {
        if (type == this->TYPE)
            continue;
        SCOPED_TRACE(int{type});
        Bytes const packet = this->packet(type, this->SIZE);
        expectPanic("Panic: *** ASSERT in playback_controller at 27\n",
                    [&] { this->m_analyzer.getData(packet.data(), this->SIZE); });
    }
}

TYPED_TEST(UdpPacketAnalyzerTest, panicsOnADatagramShorterThanItsType)
{
    for (unsigned const size : {8U, this->SIZE - 1}) {
        SCOPED_TRACE(size);
        Bytes const packet = this->packet(this->TYPE, size);
        expectPanic("Panic: *** ASSERT in playback_controller at 28\n",
                    [&] { this->m_analyzer.getData(packet.data(), size); });
    }
}

// The check is a virtual operation: a derived analyser decides what it decodes.
TEST(UdpPacketAnalyzer, asksADerivedClassForTheType)
{
    class AnyType : public UdpPacketAnalyzer<GenericData>
    {
    public:
        bool isType(void const*, unsigned int) const override { return true; }
    };
    Bytes packet = toBytes(Sample<GenericData>::PACKET);
    packet[0] = 0;
    GenericData const record = AnyType().getData(packet.data(), 20);
    EXPECT_EQ(Sample<GenericData>::RECORD.ticks, record.ticks);
}
