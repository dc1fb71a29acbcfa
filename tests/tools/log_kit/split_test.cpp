#include "log_kit/split.h"

#include "log_files.h"
#include "log_frames/file_error.h"

namespace
{

class SplitTest : public LogFiles
{
protected:
    SplitOptions options()
    {
        SplitOptions options;
        options.input = path("in");
        options.prefix = path("part");
        return options;
    }
    SplitResult split(SplitOptions const& options) { return ::split(options, m_progress); }
    std::string part(unsigned number) { return read("part-000" + std::to_string(number) + ".log"); }
};

}

static std::string records(std::vector<uint32_t> const& stamps)
{
    std::string log;
    for (uint32_t const ticks : stamps)
        log += genericFrame(ticks);
    return log;
}

TEST_F(SplitTest, endsPartsByTimeFromTheStart)
{
    write("in", records({1000, 1999, 2000, 1998, 2999, 5000}));
    SplitOptions by = options();
    by.every = 1000;
    SplitResult const result = split(by);
    ASSERT_EQ(3U, result.parts.size());
    EXPECT_EQ(records({1000, 1999}), part(1));
    EXPECT_EQ(records({2000, 1998, 2999}), part(2)); // out of order, and in the part in hand
    EXPECT_EQ(records({5000}), part(3));
}

TEST_F(SplitTest, keepsPartsWithinASize)
{
    std::string const log = joined(generateFrames(1, 500));
    write("in", log);
    SplitOptions by = options();
    by.size = 5000;
    std::string all;
    for (SplitPart const& part : split(by).parts) {
        auto const bytes = readBytes(part.file);
        EXPECT_EQ(part.bytes, bytes.size());
        EXPECT_LE(bytes.size(), 5000U);
        EXPECT_GT(bytes.size(), 5000U - LARGEST_FRAME);
        all.append(bytes.begin(), bytes.end());
        if (all.size() > log.size() - 5000)
            break; // the last part may be small
    }
    EXPECT_EQ(log.substr(0, all.size()), all);
}

TEST_F(SplitTest, endsPartsAtGapsAndRestarts)
{
    write("in", records({10000, 20000, 20500, 30501, 700, 800}));
    SplitOptions by = options();
    by.gap = 10000;
    ASSERT_EQ(3U, split(by).parts.size());
    EXPECT_EQ(records({10000, 20000, 20500}), part(1));
    EXPECT_EQ(records({30501}), part(2));
    EXPECT_EQ(records({700, 800}), part(3));
}

TEST_F(SplitTest, doesNotEndAPartAtAStampThatIsFarOff)
{
    write("in", records({1000000, 0x70000000, 1000010, 5, 1000020}));
    SplitOptions by = options();
    by.gap = 5000;
    by.every = 60000;
    EXPECT_EQ(1U, split(by).parts.size());
}

TEST_F(SplitTest, makesNoPartWhenOneOfThemExists)
{
    write("in", records({1000, 2000, 3000}));
    write("part-0003.log", "old");
    SplitOptions by = options();
    by.every = 1000;
    EXPECT_THROW(split(by), FileError);
    EXPECT_EQ(2U, fileCount());
    EXPECT_EQ("old", part(3));
    by.force = true;
    EXPECT_EQ(3U, split(by).parts.size());
    EXPECT_EQ(records({3000}), part(3));
}
