#include "log_kit/merge.h"

#include "log_files.h"
#include "log_frames/file_error.h"

namespace
{

class MergeTest : public LogFiles
{
protected:
    MergeResult merge(std::vector<std::string> const& names)
    {
        MergeOptions options = {path("out"), {}, true};
        for (std::string const& name : names)
            options.inputs.push_back(path(name));
        return ::merge(options, m_progress);
    }
};

}

// Told apart by its values.
static std::string generic(uint32_t ticks, uint32_t value)
{
    return frameOf(GenericData{ticks, {value, 0}});
}

TEST_F(MergeTest, ordersByTimeAndKeepsTheOrderOfLogsAtOneTime)
{
    write("a", generic(10, 1) + generic(20, 1) + generic(20, 2));
    write("b", generic(5, 3) + generic(20, 3) + generic(30, 3));
    MergeResult const result = merge({"a", "b"});
    EXPECT_EQ(generic(5, 3) + generic(10, 1) + generic(20, 1) + generic(20, 2) + generic(20, 3) +
                  generic(30, 3),
              read("out"));
    EXPECT_EQ(6U, result.frames);
    ASSERT_EQ(1U, result.overlaps.size());
    EXPECT_EQ(10, result.overlaps[0].from);
    EXPECT_EQ(20, result.overlaps[0].to);
}

TEST_F(MergeTest, putsALogFromAfterTheWrapAfterTheOneBeforeIt)
{
    write("a", generic(0xFFFFFFF0, 1) + generic(0xFFFFFFFA, 2));
    write("b", generic(4, 3) + generic(14, 4));
    merge({"a", "b"});
    EXPECT_EQ(read("a") + read("b"), read("out"));
    EXPECT_TRUE(merge({"b", "a"}).overlaps.empty());
    EXPECT_EQ(read("a") + read("b"), read("out"));
}

TEST_F(MergeTest, isNotHeldUpByAStampThatIsFarOff)
{
    write("a", generic(10, 1) + generic(0x70000000, 1) + generic(20, 1));
    write("b", generic(15, 2) + generic(25, 2));
    merge({"a", "b"});
    EXPECT_EQ(generic(10, 1) + generic(0x70000000, 1) + generic(15, 2) + generic(20, 1) +
                  generic(25, 2),
              read("out"));
}

TEST_F(MergeTest, writesRecordsFromBeforeAllStampsFirst)
{
    std::string const absent = frameOf(GnssData{});
    write("a", generic(10, 1) + absent + generic(20, 1));
    write("b", absent + generic(15, 2));
    merge({"a", "b"});
    EXPECT_EQ(absent + generic(10, 1) + absent + generic(15, 2) + generic(20, 1), read("out"));
}

TEST_F(MergeTest, knowsByUtcLogsOfTwoRunsOfTheCounter)
{
    GnssPvt pvt = {};
    pvt.ticks = 1000;
    pvt.fixType = 4;
    pvt.utcTime = 1000000;
    write("a", frameOf(pvt));
    pvt.utcTime += 3600;
    write("b", frameOf(pvt));
    auto const pairs = merge({"a", "b"}).otherClocks();
    ASSERT_EQ(1U, pairs.size());
    EXPECT_EQ(std::pair(size_t{0}, size_t{1}), pairs[0]);
    pvt.ticks += 3600 * 1000;
    write("b", frameOf(pvt));
    EXPECT_TRUE(merge({"a", "b"}).otherClocks().empty());
}

TEST_F(MergeTest, countsTheDamageOfEachLog)
{
    write("a", generic(10, 1) + "x" + generic(20, 1));
    write("b", generic(30, 1) + "y");
    MergeResult const result = merge({"a", "b"});
    EXPECT_EQ(1U, result.logs[0].totals.regions);
    EXPECT_EQ(1U, result.logs[1].totals.regions);
    EXPECT_EQ(generic(10, 1) + generic(20, 1) + generic(30, 1), read("out"));
}

TEST_F(MergeTest, neverWritesToAnInput)
{
    write("a", generic(10, 1));
    write("out", generic(20, 1));
    EXPECT_THROW(merge({"a", "out"}), FileError);
    EXPECT_EQ(generic(20, 1), read("out"));
}
