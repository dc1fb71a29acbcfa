#include "generic_data.h"

#include "sample_records.h"

TEST(GenericData, liesInMemoryAsTicksAndTwoWords)
{
    EXPECT_EQ(samplePayload<GenericData>(), bytesOf(Sample<GenericData>::RECORD));
}
