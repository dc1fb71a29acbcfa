#include "log_frames/replay_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "generated_log.h"
#include "memory_source.h"

namespace
{

/// The stamps of what is replayed, and whether that is all of the log.
struct Replayed
{
    std::vector<uint32_t> ticks;
    bool isWhole;
};

}

static Replayed replay(std::string const& log, size_t atATime = SIZE_MAX)
{
    MemorySource source(log, atATime);
    ReplayReader reader(source);
    Replayed replayed = {};
    while (auto const frame = reader.next())
        replayed.ticks.push_back(frame->ticks());
    replayed.isWhole = reader.isAtEnd();
    return replayed;
}

// Three records, the second one changed at a byte of its frame of 24.
static std::string logWithByte(size_t at, char byte)
{
    std::string second = genericFrame(2);
    second[at] = byte;
    return genericFrame(1) + second + genericFrame(3);
}

TEST(ReplayReader, givesAllFramesHoweverTheBytesArrive)
{
    std::string const log = joined(generateFrames(1, 10000, 500));
    for (size_t const atATime : {SIZE_MAX, size_t{4096}, size_t{1}}) {
        Replayed const replayed = replay(log, atATime);
        ASSERT_EQ(10000U, replayed.ticks.size());
        for (uint32_t i = 0; i < 10000; ++i)
            ASSERT_EQ(500 + 10 * i, replayed.ticks[i]);
        EXPECT_TRUE(replayed.isWhole);
    }
}

TEST(ReplayReader, findsNothingInAnEmptyLog)
{
    Replayed const replayed = replay("");
    EXPECT_TRUE(replayed.ticks.empty());
    EXPECT_TRUE(replayed.isWhole);
}

TEST(ReplayReader, ignoresLengthAndReserved)
{
    for (size_t const at : {2U, 3U, 4U, 7U}) {
        SCOPED_TRACE(at);
        Replayed const replayed = replay(logWithByte(at, '\x7E'));
        EXPECT_EQ((std::vector<uint32_t>{1, 2, 3}), replayed.ticks);
        EXPECT_TRUE(replayed.isWhole);
    }
}

TEST(ReplayReader, endsAtAWrongTypeVersionOrFooter)
{
    for (size_t const at : {0U, 1U, 20U, 23U}) {
        SCOPED_TRACE(at);
        Replayed const replayed = replay(logWithByte(at, '\x06'));
        EXPECT_EQ(std::vector<uint32_t>{1}, replayed.ticks);
        EXPECT_FALSE(replayed.isWhole);
    }
}

TEST(ReplayReader, endsWithinACutFrame)
{
    std::string const whole = genericFrame(1) + genericFrame(2);
    for (size_t size = 25; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        Replayed const replayed = replay(whole.substr(0, size));
        EXPECT_EQ(std::vector<uint32_t>{1}, replayed.ticks);
        EXPECT_FALSE(replayed.isWhole);
    }
}

TEST(ReplayReader, takesAFrameWholeThatHoldsAnotherAtItsEnd)
{
    // A GnssData frame is 108 bytes; this one ends with 24 bytes that a Scanner would take.
    std::string const log = gnssFrameAround(genericFrame(9), 84);
    EXPECT_EQ(1U, replay(log).ticks.size());
    EXPECT_TRUE(replay(log).isWhole);
}
