#include "log_kit/dump.h"

#include "log_files.h"
#include "log_kit/record_text.h"

using DumpTest = LogFiles;

TEST_F(DumpTest, showsAcceptedRecordsWithTheirNumbersOffsetsAndTimes)
{
    Frames const frames = generateFrames(1, 5, 1000); // 10 ms apart
    write("in", frames[0] + "garbage" + frames[1] + frames[2] + frames[3]);
    DumpOptions options;
    options.file = path("in");
    options.filter.from = parseTimePoint("1020");
    std::vector<std::string> shown;
    unsigned regions = 0;
    LogTotals const totals =
        dump(options, {[&](DumpedRecord const& record) {
                           shown.push_back(std::to_string(record.number) + " " +
                                           std::to_string(record.offset) + " " +
                                           std::to_string(record.time));
                       },
                       [&](DamagedRegion const&) { ++regions; }});
    size_t const third = frames[0].size() + 7 + frames[1].size();
    EXPECT_EQ((std::vector<std::string>{"2 " + std::to_string(third) + " 20",
                                        "3 " + std::to_string(third + frames[2].size()) + " 30"}),
              shown);
    EXPECT_EQ(1U, regions);
    EXPECT_EQ(4U, totals.frames);
}

TEST_F(DumpTest, followsUntilItIsToldToEnd)
{
    write("in", genericFrame(1));
    DumpOptions options;
    options.file = path("in");
    std::vector<uint32_t> shown;
    unsigned begun = 0;
    unsigned waits = 0;
    follow(options,
           {[&](DumpedRecord const& record) { shown.push_back(record.frame.ticks()); },
            [](DamagedRegion const&) {}},
           {[&] {
                ++waits;
                if (waits == 1)
                    write("in", genericFrame(1) + genericFrame(2));
                if (waits == 2)
                    write("in", genericFrame(3));
                return waits < 5;
            },
            [&] { ++begun; }});
    EXPECT_EQ((std::vector<uint32_t>{1, 2, 3}), shown);
    EXPECT_EQ(1U, begun);
}

TEST(RecordText, readsLikeTheGnssText)
{
    auto const imu = frameOf(ImuData{1000, {1.5F, -2, 0, 0.1F, 1e20F, 3}});
    EXPECT_EQ("Values: (1.5, -2, 0, 0.1, 1e+20, 3)\nTimestamp: 1000 ms\n",
              recordText(Frame(reinterpret_cast<unsigned char const*>(imu.data()))));
    auto const attitude = frameOf(AttitudeData{7, {1, 2, 3, 4}, {true, false, true, true}});
    EXPECT_EQ("Values: (1, 2, 3, 4)\nFlags: (1, 0, 1, 1)\nTimestamp: 7 ms\n",
              recordText(Frame(reinterpret_cast<unsigned char const*>(attitude.data()))));
    auto const generic = frameOf(GenericData{8, {4000000000U, 2}});
    EXPECT_EQ("Values: (4000000000, 2)\nTimestamp: 8 ms\n",
              recordText(Frame(reinterpret_cast<unsigned char const*>(generic.data()))));
    auto const gnss = frameOf(GnssData{});
    EXPECT_EQ("Source: LIVE GNSS\nSatellite constellation: NONE\nPVT data: Invalid\n"
              "DOP data: Invalid\n",
              recordText(Frame(reinterpret_cast<unsigned char const*>(gnss.data()))));
}
