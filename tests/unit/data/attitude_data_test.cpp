#include "attitude_data.h"

#include "sample_records.h"

TEST(AttitudeData, liesInMemoryAsTicksFourFloatsAndFourFlags)
{
    EXPECT_EQ(samplePayload<AttitudeData>(), bytesOf(Sample<AttitudeData>::RECORD));
}

TEST(AttitudeData, keepsEachFlagInItsOwnByte)
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

TEST(AttitudeData, normalizesAFlagOfAnyByte)
{
    for (size_t flag = 0; flag < 4; ++flag) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            SCOPED_TRACE(testing::Message() << flag << " " << byte);
            Bytes bytes = samplePayload<AttitudeData>();
            bytes[20 + flag] = static_cast<unsigned char>(byte);
            AttitudeData record = {};
            memcpy(&record, bytes.data(), sizeof record);

            normalizeFlags(record);
            bytes[20 + flag] = byte == 0 ? 0 : 1;
            EXPECT_EQ(bytes, bytesOf(record));
        }
    }
}
