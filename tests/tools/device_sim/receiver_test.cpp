#include "device_sim/receiver.h"

#include <vector>

#include <gtest/gtest.h>

#include "device_sim/simulation_time.h"
#include "packet_codec.h"
#include "sample_records.h"

static void receive(Receiver& receiver, Bytes const& datagram, int64_t time = 0)
{
    receiver.received(datagram.data(), datagram.size(), time);
}

static Bytes genericAt(uint32_t ticks)
{
    return toBytes(encodePacket(GenericData{ticks, {0, 0}}));
}

static RecordSequence sequenceOf(std::vector<Bytes> const& genericDatagrams)
{
    RecordSequence sequence;
    for (auto const& datagram : genericDatagrams)
        sequence.add(INDEX_OF<GenericData>, datagram.data(), datagram.size());
    return sequence;
}

TEST(Receiver, countsTheRecordsOfEachType)
{
    Receiver receiver(std::nullopt);
    forEachSample([&](auto sample) { receive(receiver, toBytes(sample.PACKET)); });
    receive(receiver, toBytes(Sample<ImuData>::PACKET));

    ReceivedReport const report = receiver.report();
    EXPECT_EQ(6U, receiver.datagrams());
    EXPECT_EQ(6U, report.total.count);
    EXPECT_EQ(2U, report.types[INDEX_OF<ImuData>].count);
    EXPECT_EQ(1U, report.types[INDEX_OF<GnssData>].count);
    EXPECT_EQ(0U, report.other);
    EXPECT_FALSE(report.total.missing.has_value()); // nothing was expected
}

TEST(Receiver, takesOnlyWhatTheProgramWouldSendForARecord)
{
    Bytes const record = toBytes(Sample<AttitudeData>::PACKET);
    Bytes wrongMarker = record;
    wrongMarker[1] = 2;
    Bytes wrongFlag = record;
    wrongFlag.back() = 2;
    Bytes wrongStamp = record;
    wrongStamp[7] ^= 1;
    Bytes unknown = record;
    unknown[0] = 6;
    Bytes const cut(record.begin(), record.end() - 1);

    Receiver receiver(std::nullopt);
    for (auto const& datagram :
         {wrongMarker, wrongFlag, wrongStamp, unknown, cut, record + Bytes{0}, Bytes{}})
        receive(receiver, datagram);
    EXPECT_EQ(7U, receiver.report().other);
    EXPECT_EQ(0U, receiver.report().total.count);
    EXPECT_FALSE(receiver.report().isAsExpected());
}

TEST(Receiver, measuresLatenessFromTheFirstRecordOn)
{
    Receiver receiver(std::nullopt);
    receive(receiver, genericAt(UINT32_MAX - 9), 50 * NS_PER_S); // the stamps wrap below
    receive(receiver, genericAt(0), 50 * NS_PER_S + 12 * NS_PER_MS);
    receive(receiver, genericAt(10), 50 * NS_PER_S + 19 * NS_PER_MS);

    auto const lateness = receiver.report().total.lateness;
    ASSERT_TRUE(lateness.has_value());
    EXPECT_DOUBLE_EQ(-1.0, lateness->min);
    EXPECT_DOUBLE_EQ(0.0, lateness->median);
    EXPECT_DOUBLE_EQ(2.0, lateness->max);
}

TEST(Receiver, looksAtTheFirstAndTheLastTenthInTheOrderOfArrival)
{
    Receiver receiver(std::nullopt);
    for (uint32_t i = 0; i < 20; ++i)
        receive(receiver, genericAt(i), i * NS_PER_MS + (i >= 18 ? 5 : 0) * NS_PER_MS);
    EXPECT_DOUBLE_EQ(0.0, receiver.report().firstTenth->max);
    EXPECT_DOUBLE_EQ(5.0, receiver.report().lastTenth->min);
}

TEST(Receiver, hasNoLatenessWithoutARecord)
{
    ReceivedReport const report = Receiver(std::nullopt).report();
    EXPECT_FALSE(report.total.lateness.has_value());
    EXPECT_FALSE(report.firstTenth.has_value());
}

TEST(Receiver, countsStampsThatGoBack)
{
    Receiver receiver(std::nullopt);
    for (uint32_t const ticks : {UINT32_MAX, 5U, 3U, 4U, 5U, 6U})
        receive(receiver, genericAt(ticks));
    EXPECT_EQ(2U, receiver.report().total.outOfOrder);
}

TEST(Receiver, comparesWithTheLogThatIsExpected)
{
    std::vector<Bytes> const log = {genericAt(1), genericAt(2), genericAt(3)};
    Receiver receiver(sequenceOf(log));
    receive(receiver, log[0]);
    EXPECT_EQ(2U, receiver.report().total.missing);
    EXPECT_FALSE(receiver.report().isAsExpected());
    receive(receiver, log[1]);
    receive(receiver, log[2]);
    EXPECT_TRUE(receiver.report().isAsExpected());
    receive(receiver, log[2]);
    EXPECT_EQ(1U, receiver.report().types[INDEX_OF<GenericData>].unexpected);
    EXPECT_FALSE(receiver.report().isAsExpected());
}

TEST(Receiver, reportsGreetingsAndOverflowsApart)
{
    Receiver receiver(std::nullopt);
    receiver.receivedHello();
    receiver.receivedHello();
    receiver.setOverflows(7);
    EXPECT_EQ(0U, receiver.datagrams());
    EXPECT_EQ(2U, receiver.report().hellos);
    EXPECT_EQ(7U, receiver.report().overflows);
    EXPECT_TRUE(receiver.report().isAsExpected());
}
