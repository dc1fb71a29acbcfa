#include "log_kit/retime.h"

#include "log_files.h"
#include "log_frames/file_error.h"

namespace
{

class RetimeTest : public LogFiles
{
protected:
    RetimeResult retime(std::string const& input, std::string const& output, eRetime mode,
                        int64_t number = 0)
    {
        RetimeOptions options;
        options.files = {path(input), path(output), true};
        options.mode = mode;
        options.shift = number;
        options.start = static_cast<uint32_t>(number);
        return ::retime(options, m_progress);
    }
};

}

static std::string records(std::vector<uint32_t> const& stamps)
{
    std::string log;
    for (uint32_t const ticks : stamps)
        log += genericFrame(ticks);
    return log;
}

static std::string gnss(uint32_t pvtTicks, uint32_t dopTicks)
{
    GnssData data = {};
    data.constellations = 7;
    data.pvt.ticks = pvtTicks;
    data.pvt.latitude = 12;
    data.dop.ticks = dopTicks;
    data.dop.vDop = 9;
    return frameOf(data);
}

TEST_F(RetimeTest, movesBothSectionsAndLeavesAbsentOnesAbsent)
{
    write("in", gnss(100, 97) + gnss(0, 200) + gnss(300, 0) + gnss(0, 0));
    retime("in", "out", eRetime::Shift, 50);
    EXPECT_EQ(gnss(150, 147) + gnss(0, 250) + gnss(350, 0) + gnss(0, 0), read("out"));
}

TEST_F(RetimeTest, makesNoStampZero)
{
    write("in", gnss(100, 97) + gnss(97, 100) + records({99, 100, 101}));
    RetimeResult const result = retime("in", "out", eRetime::Shift, -100);
    EXPECT_EQ(gnss(1, 0xFFFFFFFD) + gnss(0xFFFFFFFD, 1) + records({0xFFFFFFFF, 1, 1}), read("out"));
    EXPECT_EQ(3U, result.madeOne);
}

TEST_F(RetimeTest, startsWhereItIsTold)
{
    write("in", gnss(0, 0) + records({5000, 5100}));
    EXPECT_EQ(-4000, retime("in", "out", eRetime::Start, 1000).shift);
    EXPECT_EQ(gnss(0, 0) + records({1000, 1100}), read("out"));
}

TEST_F(RetimeTest, thereAndBackGivesTheOriginal)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        uint32_t const start = seed % 2 == 0 ? 100005 : 0xFFFFF005;
        write("in", joined(generateFrames(seed, 1000, start)));
        retime("in", "there", eRetime::Shift, 12340000 + seed);
        ASSERT_TRUE(read("in") != read("there"));
        retime("there", "back", eRetime::Shift, -12340000 - static_cast<int64_t>(seed));
        ASSERT_TRUE(read("in") == read("back")) << seed;
    }
}

TEST_F(RetimeTest, unwrapsAcrossAWrapAndBackGivesTheOriginal)
{
    write("in", records({0xFFFFFFF5, 0xFFFFFFFF, 9, 19}));
    retime("in", "out", eRetime::Unwrap);
    EXPECT_EQ(records({1000, 1010, 1020, 1030}), read("out"));
    retime("out", "back", eRetime::Start, 0xFFFFFFF5);
    EXPECT_EQ(read("in"), read("back"));
}

TEST_F(RetimeTest, unwrapsAcrossARestart)
{
    write("in", records({5000000, 5000100, 100, 200}));
    retime("in", "out", eRetime::Unwrap);
    EXPECT_EQ(records({5000000, 5000100, 5000100, 5000200}), read("out"));
}

TEST_F(RetimeTest, unwrapsAStampThatIsFarOffToTheOneBefore)
{
    write("in", records({1000, 0x70000000, 1020}));
    EXPECT_EQ(1U, retime("in", "out", eRetime::Unwrap).strays);
    EXPECT_EQ(records({1000, 1000, 1020}), read("out"));
}

TEST_F(RetimeTest, leavesALogWithoutJumpsAsItIsWhenItUnwraps)
{
    write("in", joined(generateFrames(7, 1000)));
    retime("in", "out", eRetime::Unwrap);
    EXPECT_TRUE(read("in") == read("out"));
}

TEST_F(RetimeTest, saysWhenAMoveMakesTheCounterWrap)
{
    write("in", records({1000, 2000}));
    EXPECT_TRUE(retime("in", "out", eRetime::Shift, -1500).hasNewWrap);
    EXPECT_FALSE(retime("out", "back", eRetime::Shift, 1500).hasNewWrap);
}

TEST_F(RetimeTest, doesNotUnwrapAPipe)
{
    RetimeOptions options;
    options.files = {"-", path("out"), false};
    EXPECT_THROW(::retime(options, m_progress), FileError);
}
