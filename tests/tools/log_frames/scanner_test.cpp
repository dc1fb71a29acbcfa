#include "log_frames/scanner.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "generated_log.h"
#include "memory_source.h"

namespace
{

/// What a scan of a log gave.
struct Scan
{
    Frames frames;
    std::vector<Damage> damages;
};

}

static std::string bytesOf(Frame frame)
{
    return {reinterpret_cast<char const*>(frame.bytes()), frame.size()};
}

// Also checks that the events are the whole source, in order.
static Scan scan(std::string const& log, size_t atATime = SIZE_MAX)
{
    MemorySource source(log, atATime);
    Scanner scanner(source);
    Scan result;
    uint64_t offset = 0;

    while (auto const event = scanner.next()) {
        if (auto const* const damage = std::get_if<Damage>(&*event)) {
            EXPECT_EQ(offset, damage->offset);
            EXPECT_GT(damage->length, 0U);
            offset += damage->length;
            result.damages.push_back(*damage);
        } else {
            auto const& stretch = std::get<Stretch>(*event);
            EXPECT_EQ(offset, stretch.offset);
            uint64_t count = 0;
            for (Frame const frame : stretch.frames) {
                result.frames.push_back(bytesOf(frame));
                ++count;
            }
            EXPECT_EQ(count, stretch.count);
            EXPECT_EQ(result.frames.back(), bytesOf(stretch.last));
            offset += stretch.frames.size();
        }
        EXPECT_EQ(offset, scanner.offset());
    }
    EXPECT_EQ(log.size(), offset);
    return result;
}

// Where two sequences part, in the numbers of their frames; empty if they do not.
static std::string difference(Frames const& expected, Frames const& found)
{
    size_t at = 0;
    while (at < expected.size() && at < found.size() && expected[at] == found[at])
        ++at;
    if (at == expected.size() && at == found.size())
        return "";
    return "from frame " + std::to_string(at) + " on, of " + std::to_string(expected.size()) +
           " expected and " + std::to_string(found.size()) + " found";
}

// Whether all these frames have been found, in this order, whatever else has.
static bool containsAll(Frames const& found, Frames const& wanted)
{
    size_t next = 0;
    for (auto const& frame : found)
        next += next < wanted.size() && frame == wanted[next];
    return next == wanted.size();
}

static Frames without(Frames frames, size_t first, size_t count = 1)
{
    auto const begin = frames.begin() + static_cast<ptrdiff_t>(first);
    frames.erase(begin, begin + static_cast<ptrdiff_t>(count));
    return frames;
}

// Offsets of the frames' starts, and of the end.
static std::vector<size_t> startsOf(Frames const& frames)
{
    std::vector<size_t> starts = {0};
    for (auto const& frame : frames)
        starts.push_back(starts.back() + frame.size());
    return starts;
}

TEST(Scanner, yieldsNothingOfAnEmptyLog)
{
    Scan const result = scan("");
    EXPECT_TRUE(result.frames.empty());
    EXPECT_TRUE(result.damages.empty());
}

TEST(Scanner, yieldsEveryFrameOfAnIntactLog)
{
    // Longer than the scanner's buffer; read in pieces of which none is a frame's size.
    Frames const frames = generateFrames(1, 20000);
    for (size_t const atATime : {SIZE_MAX, size_t{4099}, size_t{1}}) {
        Scan const result = scan(joined(frames), atATime);
        EXPECT_EQ("", difference(frames, result.frames));
        EXPECT_TRUE(result.damages.empty());
    }
}

TEST(Scanner, saysWhatDoesNotFit)
{
    struct Case
    {
        char const* name;
        size_t at;
        std::string bytes;
        eDamage reason;
        uint32_t expected;
        uint32_t found;
        bool endsReplay;
    };
    using std::string;
    Case const cases[] = {
        {"type 0", 0, string(1, '\0'), eDamage::Type, 0, 0, true},
        {"type 6", 0, "\x06", eDamage::Type, 0, 6, true},
        {"version", 1, "\x02", eDamage::Version, 1, 2, true},
        {"length", 2, "\x15", eDamage::Length, 20, 21, false},
        {"length, high byte", 3, "\x01", eDamage::Length, 20, 276, false},
        {"reserved", 7, "\x80", eDamage::Reserved, 0, 0x80000000, false},
        {"footer", 20, string(4, '\0'), eDamage::Footer, 0xA0B0C0D0, 0, true},
        {"footer, last byte", 23, "\xA1", eDamage::Footer, 0xA0B0C0D0, 0xA1B0C0D0, true},
        {"length and footer", 2, "\x15" + string(21, '\0'), eDamage::Length, 20, 21, true},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Frames frames = {genericFrame(1000), genericFrame(1010), genericFrame(1020)};
        frames[1].replace(c.at, c.bytes.size(), c.bytes);
        Scan const result = scan(joined(frames));

        EXPECT_EQ(without(frames, 1), result.frames);
        ASSERT_EQ(1U, result.damages.size());
        Damage const& damage = result.damages[0];
        EXPECT_EQ(24U, damage.offset);
        EXPECT_EQ(24U, damage.length);
        EXPECT_EQ(c.reason, damage.reason);
        EXPECT_EQ(c.expected, damage.expected);
        EXPECT_EQ(c.found, damage.found);
        EXPECT_EQ(c.endsReplay, damage.endsReplay);
    }
}

TEST(Scanner, saysWhereTheEndCutsAFrameOff)
{
    std::string const whole = genericFrame(1000);
    for (size_t left = 1; left < whole.size(); ++left) {
        SCOPED_TRACE(left);
        Scan const result = scan(whole + whole.substr(0, left));
        EXPECT_EQ(Frames{whole}, result.frames);
        ASSERT_EQ(1U, result.damages.size());
        Damage const& damage = result.damages[0];
        EXPECT_EQ(eDamage::CutOff, damage.reason);
        EXPECT_EQ(24U, damage.expected);
        EXPECT_EQ(left, damage.found);
        EXPECT_EQ(left, damage.length);
        EXPECT_TRUE(damage.endsReplay);
        EXPECT_EQ(1U, framesAtMost(damage));
    }
}

TEST(Scanner, losesOnlyTheFrameInWhichAByteChanges)
{
    Frames const frames = generateFrames(2, 60);
    std::string const log = joined(frames);
    std::vector<size_t> const starts = startsOf(frames);
    size_t number = 0;

    for (size_t at = 0; at < log.size(); ++at) {
        number += at == starts[number + 1];
        bool const isPayload = at - starts[number] >= 8 && at + 4 < starts[number + 1];
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string damaged = log;
            damaged[at] = static_cast<char>(damaged[at] ^ 1 << bit);
            Scan const result = scan(damaged);
            if (isPayload) {
                ASSERT_TRUE(result.damages.empty()) << at;
                ASSERT_EQ(frames.size(), result.frames.size()) << at;
            } else {
                ASSERT_EQ("", difference(without(frames, number), result.frames)) << at;
                ASSERT_EQ(1U, result.damages.size()) << at;
                ASSERT_TRUE(result.damages[0].isOneFrame) << at;
            }
        }
    }
}

TEST(Scanner, losesOnlyTheFramesThatACutTouches)
{
    std::mt19937 random(3);
    for (unsigned round = 0; round < 1000; ++round) {
        Frames const frames = generateFrames(round, 40);
        std::string log = joined(frames);
        std::vector<size_t> const starts = startsOf(frames);
        size_t const from = random() % log.size();
        size_t const count = 1 + random() % std::min<size_t>(log.size() - from, 300);

        Frames expected;
        for (size_t i = 0; i < frames.size(); ++i)
            if (starts[i + 1] <= from || starts[i] >= from + count)
                expected.push_back(frames[i]);
        // Start and end of two frames may make one that fits: nobody can tell.
        Frames const found = scan(log.erase(from, count)).frames;
        ASSERT_TRUE(containsAll(found, expected)) << "round " << round;
        ASSERT_LE(found.size(), expected.size() + 1) << "round " << round;
    }
}

TEST(Scanner, losesOnlyTheFrameIntoWhichGarbageIsInserted)
{
    std::mt19937 random(4);
    for (unsigned round = 0; round < 1000; ++round) {
        Frames const frames = generateFrames(round, 40);
        std::string log = joined(frames);
        std::vector<size_t> const starts = startsOf(frames);
        size_t const at = random() % (log.size() + 1);
        std::string garbage(1 + random() % 500, '\0');
        for (char& byte : garbage)
            byte = static_cast<char>(random());

        Frames expected;
        for (size_t i = 0; i < frames.size(); ++i)
            if (at <= starts[i] || at >= starts[i + 1])
                expected.push_back(frames[i]);
        ASSERT_EQ("", difference(expected, scan(log.insert(at, garbage)).frames)) << round;
    }
}

TEST(Scanner, findsFramesAfterGarbageOfAnyLength)
{
    for (size_t const length : {size_t{1}, size_t{262144 - 431}, size_t{262144}, size_t{1000003}}) {
        Frames const frames = generateFrames(5, 3);
        Scan const result = scan(std::string(length, '\x01') + joined(frames));
        EXPECT_EQ(frames, result.frames);
        ASSERT_EQ(1U, result.damages.size());
        EXPECT_EQ(length, result.damages[0].length);
    }
}

TEST(Scanner, findsASingleFrameBetweenDamages)
{
    Frames frames = generateFrames(6, 9);
    frames[3][0] = 9;
    frames[5].back() = 9;
    Scan const result = scan(joined(frames));
    EXPECT_EQ(without(without(frames, 5), 3), result.frames);
    EXPECT_EQ(2U, result.damages.size());
}

TEST(Scanner, isNotFooledByAFrameInThePayloadOfAFrame)
{
    struct Case
    {
        char const* name;
        size_t damageAt; // in the outer frame
        bool isDamaged;
    };
    Case const cases[] = {
        {"intact", 20, false}, {"type", 0, true},     {"length", 2, true},
        {"reserved", 5, true}, {"footer", 107, true},
    };
    Frames const around = generateFrames(7, 4);
    for (auto const& c : cases)
        for (size_t at = 8; at + 24 <= 104; ++at) {
            SCOPED_TRACE(std::string(c.name) + " " + std::to_string(at));
            std::string outer = gnssFrameAround(genericFrame(5), at);
            if (c.isDamaged)
                outer[c.damageAt] = '\x77';
            Frames const frames = {around[0], around[1], outer, around[2], around[3]};
            Scan const result = scan(joined(frames));
            EXPECT_EQ("", difference(c.isDamaged ? without(frames, 2) : frames, result.frames));
        }
}

TEST(Scanner, isNotFooledByAFrameInAFrameThatTheEndCutsOff)
{
    std::string const outer = gnssFrameAround(genericFrame(5), 40);
    Frames const frames = generateFrames(8, 3);
    for (size_t left = 65; left < outer.size(); ++left)
        EXPECT_EQ("", difference(frames, scan(joined(frames) + outer.substr(0, left)).frames));
}

TEST(Scanner, findsTheFrameThatCutsOffAnotherAndEndsWhereThatShould)
{
    std::string const cut = gnssFrameAround("", 8).substr(0, 108 - 24);
    Frames const frames = {genericFrame(1), genericFrame(2), genericFrame(3)};
    Scan const result = scan(frames[0] + cut + frames[1] + frames[2]);
    EXPECT_EQ("", difference(frames, result.frames));
    ASSERT_EQ(1U, result.damages.size());
    EXPECT_EQ(eDamage::CutOff, result.damages[0].reason);
    EXPECT_EQ(108U, result.damages[0].expected);
    EXPECT_EQ(84U, result.damages[0].found);
    EXPECT_EQ(24U, result.damages[0].offset);
    EXPECT_EQ(84U, result.damages[0].length);
    EXPECT_FALSE(result.damages[0].endsReplay); // it is sent as a GnssData
}

TEST(Scanner, saysWhereTheNextFrameCutsAFrameOff)
{
    std::string const cut = gnssFrameAround("", 8).substr(0, 50);
    Frames const frames = {genericFrame(1), genericFrame(2), genericFrame(3)};
    Scan const result = scan(frames[0] + cut + frames[1] + frames[2]);
    EXPECT_EQ("", difference(frames, result.frames));
    ASSERT_EQ(1U, result.damages.size());
    EXPECT_EQ(eDamage::CutOff, result.damages[0].reason);
    EXPECT_EQ(108U, result.damages[0].expected);
    EXPECT_EQ(50U, result.damages[0].found);
    EXPECT_TRUE(result.damages[0].endsReplay);
}

TEST(Scanner, prefersTheCandidateThatAFrameFollows)
{
    // After garbage there is a candidate whose footer lies in the next frame's payload, which two
    // frames follow.
    std::string const fake = genericFrame(5);
    std::string real = genericFrame(6);
    real.replace(12, 4, fake.substr(20));
    Frames const frames = {real, genericFrame(7), genericFrame(8)};
    std::string const start = fake.substr(0, 8);
    EXPECT_EQ(frames, scan("garbage" + start + joined(frames)).frames);
}

TEST(Scanner, takesFramesFromTheStartOnWhateverTheyHold)
{
    // A file that starts within a frame and ends with the first whole one.
    std::string const frame = genericFrame(1);
    EXPECT_EQ(Frames{frame}, scan(frame.substr(5) + frame).frames);
}

TEST(FramesAtMost, countsEveryFrameThatCanHaveLeftBytes)
{
    struct Case
    {
        uint64_t length;
        uint64_t count;
    };
    // The end of one, whole ones of 24 bytes, the start of one.
    for (Case const& c : {Case{1, 1}, {2, 2}, {25, 2}, {26, 3}, {49, 3}, {50, 4}}) {
        Damage damage = {};
        damage.length = c.length;
        EXPECT_EQ(c.count, framesAtMost(damage)) << c.length;
    }
}
