#include "frame_header.h"

#include <gtest/gtest.h>

#include "captured_output.h"
#include "sample_records.h"

namespace
{

template <class Record>
class FrameHeaderTest : public testing::Test
{};

}

TYPED_TEST_SUITE(FrameHeaderTest, AllRecords);

TYPED_TEST(FrameHeaderTest, isTheBeginningOfTheTypesFrame)
{
    auto const& frame = Sample<TypeParam>::FRAME;
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 8), bytesOf(FRAME_HEADER<TypeParam>));
}

TEST(FrameHeader, liesInMemoryAsTypeVersionLengthAndReserved)
{
    EXPECT_EQ((Bytes{0x01, 0x02, 0x13, 0x12, 0x24, 0x23, 0x22, 0x21}),
              bytesOf(FrameHeader{0x01, 0x02, 0x1213, 0x21222324}));
}

TEST(FrameHeader, isLegalWithVersionOneOnly)
{
    struct
    {
        uint8_t version;
        bool legal;
        std::string output;
    } const cases[] = {
        {0, false, "Illegal frame header version 0"},
        {1, true, ""},
        {2, false, "Illegal frame header version 2"},
        {255, false, "Illegal frame header version 255"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(int{c.version});
        EXPECT_EQ(c.output, capturedOutput([&c] {
                      EXPECT_EQ(c.legal, isVersionLegal({5, c.version, 20, 0}));
                  }));
    }
}

TEST(FrameHeader, isLegalWhateverItsOtherFields)
{
    EXPECT_EQ("", capturedOutput([] { EXPECT_TRUE(isVersionLegal({99, 1, 7, 0xFFFFFFFF})); }));
}
