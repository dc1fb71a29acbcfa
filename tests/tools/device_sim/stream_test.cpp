#include "device_sim/stream.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>

static Stream::Settings imuAt(double rate)
{
    Stream::Settings settings;
    settings.schedule.rates = {};
    settings.schedule.rates[INDEX_OF<ImuData>] = rate;
    return settings;
}

static std::vector<DueRecord> allOf(Stream& stream)
{
    std::vector<DueRecord> records;
    while (auto const record = stream.next())
        records.push_back(*record);
    return records;
}

static uint32_t stampOf(DueRecord const& record)
{
    uint32_t stamp = 0;
    memcpy(&stamp, record.datagram.bytes.data() + 4, sizeof stamp);
    return ntohl(stamp);
}

static std::vector<uint32_t> stampsOf(std::vector<DueRecord> const& records)
{
    std::vector<uint32_t> stamps;
    for (auto const& record : records)
        stamps.push_back(stampOf(record));
    return stamps;
}

TEST(Stream, givesTheDatagramOfEachRecordWhenItIsDue)
{
    Stream::Settings settings = imuAt(10.0);
    settings.count = 3;
    Stream stream(settings);
    auto const records = allOf(stream);
    EXPECT_EQ((std::vector<uint32_t>{1000, 1100, 1200}), stampsOf(records));
    EXPECT_EQ(100 * NS_PER_MS, records[1].due);
    EXPECT_EQ(INDEX_OF<ImuData>, records[1].index);
    EXPECT_EQ(36U, records[1].datagram.size);
    EXPECT_EQ(1, records[1].datagram.bytes[0]);
}

TEST(Stream, endsBeforeItsDuration)
{
    Stream::Settings settings = imuAt(10.0);
    settings.duration = 300 * NS_PER_MS;
    Stream stream(settings);
    EXPECT_EQ((std::vector<uint32_t>{1000, 1100, 1200}), stampsOf(allOf(stream)));
}

TEST(Stream, goesOnAtATimeAndCountsWhatWasUsed)
{
    Stream::Settings settings = imuAt(10.0);
    settings.count = 5;
    Stream stream(settings);
    for (int i = 0; i < 4; ++i)
        stream.next(); // fetched ahead; two of them will have been sent
    stream.seek(2 * NS_PER_S, 2);
    EXPECT_EQ((std::vector<uint32_t>{3000, 3100, 3200}), stampsOf(allOf(stream)));
}

TEST(Stream, bringsRecordsOutOfOrderWithoutLosingOne)
{
    Stream::Settings settings = imuAt(10.0);
    settings.count = 25; // the last window is not full
    Stream ordered(settings);
    settings.shuffle = 10;
    Stream shuffled(settings);

    auto const expected = stampsOf(allOf(ordered));
    auto const records = allOf(shuffled);
    auto stamps = stampsOf(records);
    EXPECT_NE(expected, stamps);
    for (size_t i = 0; i < records.size(); ++i) { // none is sent before it is measured
        EXPECT_GE(records[i].due / NS_PER_MS + 1000, stamps[i]);
        EXPECT_TRUE(i == 0 || records[i].due >= records[i - 1].due);
    }
    auto const window = stamps.begin() + 10;
    EXPECT_EQ(1900U, *std::max_element(stamps.begin(), window));
    std::sort(stamps.begin(), stamps.end());
    EXPECT_EQ(expected, stamps);
}
