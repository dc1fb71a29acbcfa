#include "gnss_data.h"

#include "record_test.h"
#include "sample_records.h"

static constexpr size_t PVT_OFFSET = 8;
static constexpr size_t DOP_OFFSET = 80;

static GnssData recordOf(uint32_t pvtTicks, uint32_t dopTicks)
{
    GnssData record = Sample<GnssData>::RECORD;
    record.pvt.ticks = pvtTicks;
    record.dop.ticks = dopTicks;
    return record;
}

TEST(GnssData, liesInMemoryAsSourceMaskAndBothSections)
{
    EXPECT_EQ(samplePayload<GnssData>(), bytesOf(Sample<GnssData>::RECORD));
}

TEST(GnssData, namesItsSourcesSectionsAndConstellationsByFixedNumbers)
{
    EXPECT_EQ(0U, static_cast<uint32_t>(eGnssSource::Live));
    EXPECT_EQ(1U, static_cast<uint32_t>(eGnssSource::Stored));
    EXPECT_EQ(2U, static_cast<uint32_t>(eGnssSource::StoredOther));
    EXPECT_EQ(1U, static_cast<uint32_t>(eGnssSection::Pvt));
    EXPECT_EQ(2U, static_cast<uint32_t>(eGnssSection::Dop));
    EXPECT_EQ(1U, GNSS_CONSTELLATION_GPS);
    EXPECT_EQ(2U, GNSS_CONSTELLATION_GLONASS);
    EXPECT_EQ(4U, GNSS_CONSTELLATION_GALILEO);
    EXPECT_EQ(8U, GNSS_CONSTELLATION_BEIDOU);
}

TEST(GnssData, isStampedWithTheLaterSection)
{
    struct
    {
        uint32_t pvt;
        uint32_t dop;
        uint32_t expected;
    } const cases[] = {
        {0, 0, 0},
        {7, 0, 7},
        {0, 7, 7},
        {7, 7, 7},
        {8, 7, 8},
        {7, 8, 8},
        {0xFFFFFFF0, 5, 0xFFFFFFF0},
        {5, 0xFFFFFFF0, 0xFFFFFFF0},
        {0x7FFFFFFF, 0x80000000, 0x80000000},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pvt << " " << c.dop);
        EXPECT_EQ(c.expected, recordOf(c.pvt, c.dop).getTicks());
    }
}

TEST(GnssData, hasASectionOnlyIfItsTicksAreNotZero)
{
    for (uint32_t const pvt : {0U, 1U, 0x80000000U}) {
        for (uint32_t const dop : {0U, 2U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << pvt << " " << dop);
            GnssData const record = recordOf(pvt, dop);
            EXPECT_EQ(pvt != 0, record.isSectionValid(eGnssSection::Pvt));
            EXPECT_EQ(dop != 0, record.isSectionValid(eGnssSection::Dop));
            EXPECT_EQ(pvt, record.getSectionTick(eGnssSection::Pvt));
            EXPECT_EQ(dop, record.getSectionTick(eGnssSection::Dop));
        }
    }
}

TEST(GnssData, takesAnySectionNumberButThatOfPvtForDop)
{
    GnssData const pvtOnly = recordOf(5, 0);
    GnssData const dopOnly = recordOf(0, 6);
    for (uint32_t const number : {0U, 2U, 3U, 0x101U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(number);
        auto const section = static_cast<eGnssSection>(number);
        EXPECT_FALSE(pvtOnly.isSectionValid(section));
        EXPECT_EQ(0U, pvtOnly.getSectionTick(section));
        EXPECT_TRUE(dopOnly.isSectionValid(section));
        EXPECT_EQ(6U, dopOnly.getSectionTick(section));
    }
}

TEST(GnssData, givesItsSectionsByReference)
{
    GnssData const record = Sample<GnssData>::RECORD;
    EXPECT_EQ(&record.pvt, &record.getSectionPvt());
    EXPECT_EQ(&record.dop, &record.getSectionDop());
}

TEST(GnssData, replacesAWholeSectionAndNothingElse)
{
    GnssPvt const pvt = Sample<GnssPvt>::RECORD;
    GnssDop const dop = {11, 12, 13, 14};
    GnssData record = Sample<GnssData>::RECORD;

    record.updateSectionPvt(pvt);
    EXPECT_EQ(pvt, record.pvt);
    EXPECT_EQ(Sample<GnssData>::RECORD.dop, record.dop);

    record.updateSectionDop(dop);
    EXPECT_EQ(pvt, record.pvt);
    EXPECT_EQ(dop, record.dop);
    EXPECT_EQ(Sample<GnssData>::RECORD.source, record.source);
    EXPECT_EQ(Sample<GnssData>::RECORD.constellations, record.constellations);
}

TEST(GnssData, losesASectionThatIsReplacedByOneWithoutTicks)
{
    GnssData record = Sample<GnssData>::RECORD;

    GnssPvt pvt = record.pvt;
    pvt.ticks = 0;
    record.updateSectionPvt(pvt);
    EXPECT_FALSE(record.isSectionValid(eGnssSection::Pvt));
    EXPECT_TRUE(record.isSectionValid(eGnssSection::Dop));

    GnssDop dop = record.dop;
    dop.ticks = 0;
    record.updateSectionDop(dop);
    EXPECT_FALSE(record.isSectionValid(eGnssSection::Dop));
}

TEST(GnssData, keepsAnySourceAndAnyMask)
{
    GnssData record = {};

    for (uint32_t const source : {0U, 1U, 2U, 7U, 0xFEDCBA98U}) {
        SCOPED_TRACE(source);
        record.setSource(static_cast<eGnssSource>(source));
        EXPECT_EQ(source, static_cast<uint32_t>(record.getSource()));
        EXPECT_EQ(source, static_cast<uint32_t>(record.source));
    }
    for (uint32_t const mask : {0U, GNSS_CONSTELLATION_BEIDOU, 0xFEDCBA98U}) {
        SCOPED_TRACE(mask);
        record.setConstellations(mask);
        EXPECT_EQ(mask, record.getConstellations());
        EXPECT_EQ(mask, record.constellations);
    }
}

TEST(GnssData, withBothSectionsEqualsExactlyARecordOfEqualFields)
{
    expectEveryByteCounts(Sample<GnssData>::RECORD);
}

TEST(GnssData, comparesTheFieldsOfPresentSectionsOnly)
{
    for (uint32_t const pvtTicks : {0U, 0x01020304U}) {
        for (uint32_t const dopTicks : {0U, 0x05060708U}) {
            SCOPED_TRACE(testing::Message() << pvtTicks << " " << dopTicks);
            GnssData const record = recordOf(pvtTicks, dopTicks);
            expectEqual(true, record, GnssData(record));
            for (size_t offset = 0; offset < sizeof record; ++offset) {
                SCOPED_TRACE(offset);
                bool const inPvt = offset >= PVT_OFFSET + 4 && offset < DOP_OFFSET;
                bool const inDop = offset >= DOP_OFFSET + 4;
                bool const ignored = (inPvt && pvtTicks == 0) || (inDop && dopTicks == 0);
                expectEqual(ignored, record, withByteChanged(record, offset));
            }
        }
    }
}

TEST(GnssData, ofUnknownSourceEqualsOnlyTheSameSource)
{
    GnssData record = {};
    record.source = static_cast<eGnssSource>(7);
    GnssData other = record;
    expectEqual(true, record, other);
    other.source = eGnssSource::Live;
    expectEqual(false, record, other);
}
