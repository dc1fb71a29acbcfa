#include "device_sim/transmitter.h"

#include <stdexcept>
#include <system_error>

#include <gtest/gtest.h>

#include "loopback_peer.h"
#include "sample_records.h"
#include "temp_dir.h"

namespace
{

class TransmitterTest : public testing::Test
{
protected:
    void send(Transmitter& transmitter, int count)
    {
        DueRecord const record = {0, GENERIC, Datagram::of(Sample<GenericData>::PACKET)};
        for (int i = 0; i < count; ++i)
            transmitter.send(m_peer.address(), record);
    }

    static constexpr size_t GENERIC = INDEX_OF<GenericData>;
    static inline Bytes const RECORD = toBytes(Sample<GenericData>::PACKET);

    DeviceSocket m_socket{"127.0.0.1", 0};
    LoopbackPeer m_peer;
    Faults::Settings m_faults;
};

}

TEST_F(TransmitterTest, sendsAndCountsRecords)
{
    Transmitter transmitter(m_socket, Faults(m_faults), "");
    send(transmitter, 2);
    EXPECT_EQ(RECORD, m_peer.receive());
    EXPECT_EQ(RECORD, m_peer.receive());
    EXPECT_FALSE(m_peer.hasDatagram());
    EXPECT_EQ(2U, transmitter.records());
    EXPECT_EQ(2U, transmitter.counts().records[GENERIC]);
}

TEST_F(TransmitterTest, makesTheMistakesThatAreDue)
{
    m_faults.shortAt = 1;
    m_faults.shortTo = 8;
    m_faults.longEvery = 2;
    m_faults.unknownEvery = 2;
    m_faults.emptyEvery = 2;
    Transmitter transmitter(m_socket, Faults(m_faults), "");
    send(transmitter, 2);

    EXPECT_EQ(Bytes(RECORD.begin(), RECORD.begin() + 8), m_peer.receive());
    EXPECT_EQ(RECORD + Bytes(16, 0xA5), m_peer.receive());
    EXPECT_EQ(0x7F, m_peer.receive()[0]);
    EXPECT_EQ(Bytes{}, m_peer.receive());
    SentCounts const& counts = transmitter.counts();
    EXPECT_EQ(1U, counts.records[GENERIC]); // a short one is none
    EXPECT_EQ(1U, counts.cut);
    EXPECT_EQ(1U, counts.padded);
    EXPECT_EQ(1U, counts.unknown);
    EXPECT_EQ(1U, counts.empty);
}

TEST_F(TransmitterTest, countsApartWhatCouldNotBeSent)
{
    Transmitter transmitter(m_socket, Faults(m_faults), "");
    transmitter.send(loopbackAddress(0), {0, GENERIC, Datagram::of(Sample<GenericData>::PACKET)});
    EXPECT_EQ(1U, transmitter.records());
    EXPECT_EQ(1U, transmitter.counts().failed);
    EXPECT_EQ(0U, transmitter.counts().records[GENERIC]);
}

TEST_F(TransmitterTest, dumpsWhatItSendsAfterItsLength)
{
    TempDir const dir;
    m_faults.emptyEvery = 1;
    Transmitter transmitter(m_socket, Faults(m_faults), dir.file("dump"));
    send(transmitter, 1);
    transmitter.finish();
    EXPECT_EQ((Bytes{20, 0} + RECORD + Bytes{0, 0}), readBytes(dir.file("dump")));
}

TEST_F(TransmitterTest, tellsOfADumpThatCannotBeWritten)
{
    TempDir const dir;
    EXPECT_THROW(Transmitter(m_socket, Faults(m_faults), dir.file("none/dump")), std::system_error);
    Transmitter full(m_socket, Faults(m_faults), "/dev/full");
    send(full, 1);
    EXPECT_THROW(full.finish(), std::runtime_error);
}
