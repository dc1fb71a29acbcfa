#include "imu_data.h"

#include "sample_records.h"

TEST(ImuData, liesInMemoryAsTicksAndSixFloats)
{
    EXPECT_EQ(samplePayload<ImuData>(), bytesOf(Sample<ImuData>::RECORD));
}

TEST(ImuData, beginsWithLittleEndianTicksAndFirstValue)
{
    Bytes const beginning = {0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x80, 0x3F};
    Bytes bytes = bytesOf(ImuData{0x01020304, {1.0F}});
    bytes.resize(beginning.size());
    EXPECT_EQ(beginning, bytes);
}
