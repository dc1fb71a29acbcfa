#include "gnss_dop.h"

#include "record_test.h"
#include "sample_records.h"

static GnssDop const DOP = {0x01020304, 0x05060708, 0x090A0B0C, 0x0D0E0F10};

TEST(GnssDop, liesInMemoryAsFourWords)
{
    Bytes const expected = {0x04, 0x03, 0x02, 0x01, 0x08, 0x07, 0x06, 0x05,
                            0x0C, 0x0B, 0x0A, 0x09, 0x10, 0x0F, 0x0E, 0x0D};
    EXPECT_EQ(expected, bytesOf(DOP));
}

TEST(GnssDop, givesItsTicks)
{
    EXPECT_EQ(0x01020304U, DOP.getTicks());
}

TEST(GnssDop, equalsExactlyARecordOfEqualFields)
{
    expectEveryByteCounts(DOP);
}
