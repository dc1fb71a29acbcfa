#include "gnss_pvt.h"

#include "record_test.h"
#include "sample_records.h"

TEST(GnssPvt, liesInMemoryAsEighteenWords)
{
    EXPECT_EQ(samplePayload<GnssPvt>(), bytesOf(Sample<GnssPvt>::RECORD));
}

TEST(GnssPvt, givesItsTicks)
{
    EXPECT_EQ(0xA1A2A3A4, Sample<GnssPvt>::RECORD.getTicks());
}

TEST(GnssPvt, equalsExactlyARecordOfEqualFields)
{
    expectEveryByteCounts(Sample<GnssPvt>::RECORD);
}

TEST(GnssPvt, differsInItsLastFieldAlone)
{
    GnssPvt const first = Sample<GnssPvt>::RECORD;
    GnssPvt second = first;
    second.pDop = 1;
    expectEqual(false, first, second);
}

TEST(GnssPvt, comparesAbsentSectionsToo)
{
    GnssPvt const first = {};
    GnssPvt second = {};
    second.altitude = 1;
    expectEqual(false, first, second);
}
