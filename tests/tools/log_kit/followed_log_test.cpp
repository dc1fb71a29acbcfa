#include "log_kit/followed_log.h"

#include <filesystem>
#include <fstream>

#include "log_files.h"
#include "log_frames/file_error.h"

namespace
{

class FollowedLogTest : public LogFiles
{
protected:
    void append(std::string const& content)
    {
        std::ofstream file(path("log"), std::ios::app | std::ios::binary);
        file << content;
    }
    /// What is new, with each damaged region as its offset in brackets.
    std::string news(FollowedLog& log)
    {
        std::string text;
        log.readNew(
            [&](Stretch const& stretch) {
                for (Frame const frame : stretch.frames)
                    text += std::to_string(frame.ticks()) + " ";
            },
            [&](DamagedRegion const& region) {
                text += "[" + std::to_string(region.offset) + "] ";
            });
        return text;
    }
};

}

TEST_F(FollowedLogTest, waitsAtAFrameThatIsNotWhole)
{
    write("log", genericFrame(1) + genericFrame(2).substr(0, 23));
    FollowedLog log(path("log"));
    EXPECT_EQ("1 ", news(log));
    EXPECT_EQ("", news(log));
    append(genericFrame(2).substr(23) + genericFrame(3).substr(0, 5));
    EXPECT_EQ("2 ", news(log));
    append(genericFrame(3).substr(5));
    EXPECT_EQ("3 ", news(log));
    EXPECT_FALSE(log.hasBegunAgain());
}

TEST_F(FollowedLogTest, tellsOfDamageWhenAFrameFollows)
{
    write("log", genericFrame(1) + "garbage");
    FollowedLog log(path("log"));
    EXPECT_EQ("1 ", news(log));
    append(genericFrame(2));
    EXPECT_EQ("[24] 2 ", news(log));
    append(genericFrame(3));
    EXPECT_EQ("3 ", news(log));
}

TEST_F(FollowedLogTest, goesOnWithANewFileUnderTheName)
{
    write("log", genericFrame(1) + genericFrame(2));
    FollowedLog log(path("log"));
    EXPECT_EQ("1 2 ", news(log));
    std::filesystem::remove(path("log"));
    EXPECT_FALSE(log.hasBegunAgain());
    write("other", genericFrame(7));
    std::filesystem::rename(path("other"), path("log"));
    EXPECT_TRUE(log.hasBegunAgain());
    EXPECT_EQ("7 ", news(log));
    EXPECT_FALSE(log.hasBegunAgain());
}

TEST_F(FollowedLogTest, goesOnAtTheStartOfAFileThatWasEmptied)
{
    write("log", genericFrame(1) + genericFrame(2));
    FollowedLog log(path("log"));
    EXPECT_EQ("1 2 ", news(log));
    write("log", genericFrame(9)); // truncates it
    EXPECT_TRUE(log.hasBegunAgain());
    EXPECT_EQ("9 ", news(log));
}

TEST_F(FollowedLogTest, needsAFile)
{
    EXPECT_THROW(FollowedLog(path("none")), FileError);
}
