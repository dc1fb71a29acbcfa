#include "device_sim/faults.h"

#include <gtest/gtest.h>

#include "sample_records.h"

static Bytes bytesOf(Datagram const& datagram)
{
    return {datagram.bytes.begin(), datagram.bytes.begin() + static_cast<ptrdiff_t>(datagram.size)};
}

TEST(Faults, doNotHappenUnlessAskedFor)
{
    Faults const faults({});
    for (uint64_t number = 1; number < 100; ++number) {
        EXPECT_FALSE(faults.isShort(number));
        EXPECT_FALSE(faults.isLong(number));
        EXPECT_FALSE(faults.isUnknownNext(number));
        EXPECT_FALSE(faults.isEmptyNext(number));
    }
}

TEST(Faults, happenAtTheirOwnPeriods)
{
    Faults::Settings settings;
    settings.shortAt = 4;
    settings.longEvery = 2;
    settings.unknownEvery = 3;
    settings.emptyEvery = 5;
    Faults const faults(settings);
    for (uint64_t number = 1; number <= 30; ++number) {
        SCOPED_TRACE(number);
        EXPECT_EQ(number == 4, faults.isShort(number));
        EXPECT_EQ(number % 2 == 0, faults.isLong(number));
        EXPECT_EQ(number % 3 == 0, faults.isUnknownNext(number));
        EXPECT_EQ(number % 5 == 0, faults.isEmptyNext(number));
    }
}

TEST(Faults, cutToTheSizeAskedForButByOneByteAtLeast)
{
    struct CutCase
    {
        uint64_t shortTo;
        size_t size;
    };
    for (CutCase const& c : {CutCase{0, 0}, {7, 7}, {19, 19}, {20, 19}, {1000, 19}}) {
        SCOPED_TRACE(c.shortTo);
        Faults::Settings settings;
        settings.shortTo = c.shortTo;
        Datagram datagram = Datagram::of(Sample<GenericData>::PACKET);
        Faults(settings).cut(datagram);
        EXPECT_EQ(c.size, datagram.size);
    }
}

TEST(Faults, padAfterTheRecord)
{
    Datagram datagram = Datagram::of(Sample<GenericData>::PACKET);
    Faults::pad(datagram);
    Bytes padded = toBytes(Sample<GenericData>::PACKET);
    padded.resize(20 + 16, 0xA5);
    EXPECT_EQ(padded, bytesOf(datagram));

    Datagram longest = Datagram::of(std::array<unsigned char, 120>());
    Faults::pad(longest);
    EXPECT_EQ(128U, longest.size);
}

TEST(Faults, makeDatagramsOfATypeThatThereIsNot)
{
    Bytes const unknown = bytesOf(Faults::unknown(0x30));
    EXPECT_EQ((Bytes{0x7F, 1, 24, 0, 0x34, 0x35}), Bytes(unknown.begin(), unknown.begin() + 6));
    EXPECT_EQ(24U, unknown.size());
    EXPECT_NE(unknown, bytesOf(Faults::unknown(0x31)));
}
