#include "log_kit/recover.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "generated_log.h"
#include "log_frames/file_error.h"
#include "log_kit/check.h"
#include "temp_dir.h"

namespace
{

class RecoverTest : public testing::Test
{
protected:
    void write(std::string const& name, std::string const& content)
    {
        writeBytes(m_dir.file(name), {content.begin(), content.end()});
    }
    std::string read(std::string const& name)
    {
        auto const bytes = readBytes(m_dir.file(name));
        return {bytes.begin(), bytes.end()};
    }
    LogTotals recover(std::string const& input, std::string const& output, bool force = true)
    {
        return ::recover({m_dir.file(input), m_dir.file(output), force}, m_progress);
    }
    LogTotals check(std::string const& name)
    {
        return ::check({m_dir.file(name)}, m_progress, nullptr);
    }
    bool exists(std::string const& name) { return std::filesystem::exists(m_dir.file(name)); }

    TempDir m_dir;
    Progress m_progress;
};

}

TEST_F(RecoverTest, copiesACleanLogUnchanged)
{
    write("in", joined(generateFrames(1, 30000)));
    LogTotals const totals = recover("in", "out", false);
    EXPECT_TRUE(totals.isClean());
    EXPECT_EQ(30000U, totals.frames);
    EXPECT_TRUE(read("in") == read("out"));
}

TEST_F(RecoverTest, leavesOutWhatIsDamagedAndSaysWhatWasLost)
{
    Frames const frames = generateFrames(2, 10); // 10 ms apart
    std::string damaged = frames[4];
    damaged.back() = 0;
    write("in", frames[3] + damaged + frames[5] + "garbage" + frames[6]);
    LogTotals const totals = recover("in", "out");
    EXPECT_EQ(frames[3] + frames[5] + frames[6], read("out"));
    EXPECT_EQ(2U, totals.regions);
    EXPECT_EQ(1U + 2U, totals.framesLostAtMost);
    EXPECT_DOUBLE_EQ(0.02 + 0.01, totals.secondsLost);
}

TEST_F(RecoverTest, givesALogThatIsCleanAndStaysAsItIs)
{
    std::mt19937 random(3);
    for (unsigned round = 0; round < 200; ++round) {
        std::string log = joined(generateFrames(round, 200));
        for (unsigned damage = 0; damage < 30; ++damage) {
            size_t const at = random() % log.size();
            switch (random() % 3) {
            case 0:
                log[at] = static_cast<char>(log[at] ^ 1 << random() % 8);
                break;
            case 1:
                log.erase(at, random() % 100);
                break;
            default:
                log.insert(at, log.substr(random() % log.size(), random() % 100));
            }
        }
        write("in", log);
        LogTotals const totals = recover("in", "out");
        LogTotals const checked = check("out");
        ASSERT_TRUE(checked.isClean()) << round;
        ASSERT_EQ(totals.frames, checked.frames) << round;
        recover("out", "again");
        ASSERT_TRUE(read("out") == read("again")) << round;
    }
}

TEST_F(RecoverTest, refusesAnExistingOutput)
{
    write("in", joined(generateFrames(4, 3)));
    write("out", "old");
    EXPECT_THROW(recover("in", "out", false), FileError);
    EXPECT_EQ("old", read("out"));
}

TEST_F(RecoverTest, neverWritesToItsInput)
{
    std::string const log = joined(generateFrames(5, 3)) + "garbage";
    write("in", log);
    std::filesystem::create_hard_link(m_dir.file("in"), m_dir.file("same"));
    EXPECT_THROW(recover("in", "in"), FileError);
    EXPECT_THROW(recover("in", "same"), FileError);
    EXPECT_EQ(log, read("in"));
}

TEST_F(RecoverTest, writesNothingWhenNothingIsIntact)
{
    write("in", "no log at all");
    EXPECT_EQ(0U, recover("in", "out").frames);
    EXPECT_FALSE(exists("out"));
}

TEST_F(RecoverTest, throwsWhenThereIsNoInputAndLeavesNothing)
{
    EXPECT_THROW(recover("none", "out"), FileError);
    EXPECT_FALSE(exists("out"));
}
