#include "log_frames/frame.h"

#include <gtest/gtest.h>

#include "golden.h"
#include "log_frames/frame_writer.h"
#include "sample_records.h"

template <class Record>
class FrameTest : public testing::Test
{};
using Records = testing::Types<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>;
TYPED_TEST_SUITE(FrameTest, Records);

TYPED_TEST(FrameTest, givesTheRecord)
{
    Frame const frame(Sample<TypeParam>::FRAME.data());
    EXPECT_TRUE(frame.holds<TypeParam>());
    EXPECT_EQ(Sample<TypeParam>::FRAME.size(), frame.size());
    EXPECT_EQ(bytesOf(Sample<TypeParam>::RECORD), bytesOf(frame.record<TypeParam>()));
    EXPECT_EQ(ticksOf(Sample<TypeParam>::RECORD), frame.ticks());
}

TYPED_TEST(FrameTest, isEncodedToTheBytesInTheLog)
{
    EXPECT_EQ(Sample<TypeParam>::FRAME, encodeFrame(Sample<TypeParam>::RECORD));
}

TEST(Frame, ofEachTypeIsTheReferenceFile)
{
    EXPECT_EQ(toBytes(Sample<ImuData>::FRAME), readGolden("imu_data.frame.hex").bytes);
    EXPECT_EQ(toBytes(Sample<GnssData>::FRAME), readGolden("gnss_data.frame.hex").bytes);
    EXPECT_EQ(toBytes(Sample<GnssPvt>::FRAME), readGolden("gnss_pvt.frame.hex").bytes);
    EXPECT_EQ(toBytes(Sample<AttitudeData>::FRAME), readGolden("attitude_data.frame.hex").bytes);
    EXPECT_EQ(toBytes(Sample<GenericData>::FRAME), readGolden("generic_data.frame.hex").bytes);
}

TEST(Frame, givesFlagsThatAreValid)
{
    auto bytes = Sample<AttitudeData>::FRAME;
    bytes[28] = 0x80;
    AttitudeData const record = Frame(bytes.data()).record<AttitudeData>();
    EXPECT_EQ(1, bytesOf(record)[20]);
}

TEST(Frame, isStampedByTheLaterSection)
{
    auto bytes = Sample<GnssData>::FRAME;
    std::fill_n(bytes.begin() + 16, 4, static_cast<unsigned char>(0)); // pvt.ticks
    EXPECT_EQ(0x71727374U, Frame(bytes.data()).ticks());
    std::fill_n(bytes.begin() + 16, 4, static_cast<unsigned char>(0xFE));
    EXPECT_EQ(0xFEFEFEFEU, Frame(bytes.data()).ticks());
}
