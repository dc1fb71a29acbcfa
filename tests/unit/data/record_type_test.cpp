#include "record_type.h"

#include "sample_records.h"

template <class Record>
static void expectType(uint8_t code, unsigned payloadSize)
{
    EXPECT_EQ(code, RecordType<Record>::CODE);
    EXPECT_EQ(payloadSize, RecordType<Record>::PAYLOAD_SIZE);
    EXPECT_EQ(payloadSize, sizeof(Record));
}

TEST(RecordType, hasTheCodeAndPayloadSizeOfTheFormats)
{
    expectType<ImuData>(1, 28);
    expectType<GnssData>(2, 96);
    expectType<GnssPvt>(3, 72);
    expectType<AttitudeData>(4, 24);
    expectType<GenericData>(5, 12);
}

TEST(RecordType, readsTheTimeStampOfEachRecord)
{
    EXPECT_EQ(0x01020304U, ticksOf(Sample<ImuData>::RECORD));
    EXPECT_EQ(0x71727374U, ticksOf(Sample<GnssData>::RECORD));
    EXPECT_EQ(0xA1A2A3A4U, ticksOf(Sample<GnssPvt>::RECORD));
    EXPECT_EQ(0x0A0B0C0DU, ticksOf(Sample<AttitudeData>::RECORD));
    EXPECT_EQ(0x11121314U, ticksOf(Sample<GenericData>::RECORD));
}
