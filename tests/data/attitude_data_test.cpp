#include "attitude_data.h"

#include "sample_records.h"

TEST(AttitudeData, liesInMemoryAsTicksFourFloatsAndFourFlags)
{
    EXPECT_EQ(samplePayload<AttitudeData>(), bytesOf(Sample<AttitudeData>::RECORD));
}

TEST(AttitudeData, keepsEachFlagInAByteOfItsOwn)
{
    for (size_t flag = 0; flag < 4; ++flag) {
        SCOPED_TRACE(flag);
        AttitudeData record = {};
        record.flags[flag] = true;
        Bytes expected(24, 0);
        expected[20 + flag] = 1;
        EXPECT_EQ(expected, bytesOf(record));
    }
}
