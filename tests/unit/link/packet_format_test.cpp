#include "packet_format.h"

#include <gtest/gtest.h>

TEST(PacketFormat, givesEachTypeItsSizeWithTheHeader)
{
    EXPECT_EQ(36U, packetSize<ImuData>());
    EXPECT_EQ(104U, packetSize<GnssData>());
    EXPECT_EQ(80U, packetSize<GnssPvt>());
    EXPECT_EQ(32U, packetSize<AttitudeData>());
    EXPECT_EQ(20U, packetSize<GenericData>());
}
