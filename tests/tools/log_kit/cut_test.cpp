#include "log_kit/cut.h"

#include <stdexcept>

#include "log_files.h"
#include "log_frames/file_error.h"
#include "log_kit/merge.h"

namespace
{

class CutTest : public LogFiles
{
protected:
    CutResult cut(std::string const& output, std::string const& from, std::string const& to)
    {
        CutOptions options;
        options.files = {path("in"), path(output), true};
        if (!from.empty())
            options.filter.from = parseTimePoint(from);
        if (!to.empty())
            options.filter.to = parseTimePoint(to);
        return ::cut(options, m_progress);
    }
};

}

TEST_F(CutTest, copiesWholeFramesFromOneTimeToBeforeAnother)
{
    Frames const frames = generateFrames(1, 6, 1000); // 10 ms apart
    write("in", joined(frames));
    CutResult const result = cut("out", "1010", "1040");
    EXPECT_EQ(frames[1] + frames[2] + frames[3], read("out"));
    EXPECT_EQ(3U, result.frames);
    EXPECT_EQ(6U, result.read.frames);
}

TEST_F(CutTest, passesOverDamageAndReportsIt)
{
    Frames const frames = generateFrames(2, 4, 1000);
    write("in", frames[0] + "garbage" + frames[1] + frames[2] + frames[3]);
    CutResult const result = cut("out", "", "1020");
    EXPECT_EQ(frames[0] + frames[1], read("out"));
    EXPECT_EQ(1U, result.read.regions);
}

TEST_F(CutTest, writesNothingWhenNothingIsChosen)
{
    write("in", joined(generateFrames(3, 4, 1000)));
    EXPECT_EQ(0U, cut("out", "+1h", "").bytes);
    EXPECT_FALSE(exists("out"));
    EXPECT_EQ(1U, fileCount());
}

TEST_F(CutTest, refusesUtcOfAPipe)
{
    CutOptions options;
    options.files = {"-", path("out"), false};
    options.filter.from = parseTimePoint("2026-11-20T09:31:00Z");
    EXPECT_THROW(::cut(options, m_progress), std::invalid_argument);
}

TEST_F(CutTest, atAllTimesAndMergedGivesTheOriginal)
{
    static constexpr uint32_t STARTS[] = {1000, 0xFFFFFF00, 0xFFFFFFFF};
    for (uint32_t const start : STARTS) {
        std::string const log = joined(generateFrames(start, 60, start));
        write("in", log);
        for (unsigned at = 0; at <= 600; at += 10) {
            std::string const time = "+" + std::to_string(at) + "ms";
            bool const hasBefore = cut("before", "", time).bytes > 0;
            bool const hasAfter = cut("after", time, "").bytes > 0;
            MergeOptions options = {path("out"), {}, true};
            // In the wrong order, so that only the times can put them right.
            if (hasAfter)
                options.inputs.push_back(path("after"));
            if (hasBefore)
                options.inputs.push_back(path("before"));
            MergeResult const merged = merge(options, m_progress);
            ASSERT_TRUE(read("out") == log) << start << " cut at " << time;
            ASSERT_TRUE(merged.overlaps.empty());
        }
    }
}
