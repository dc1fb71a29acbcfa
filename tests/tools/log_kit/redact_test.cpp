#include "log_kit/redact.h"

#include <cmath>
#include <random>

#include <GeographicLib/Geodesic.hpp>

#include "log_files.h"
#include "log_frames/file_error.h"

using GeographicLib::Geodesic;

namespace
{

class RedactTest : public LogFiles
{
protected:
    RedactResult redact(RedactOptions options)
    {
        options.files = {path("in"), path("out"), true};
        return ::redact(options, m_progress);
    }
    template <class Record>
    Record first(std::string const& name)
    {
        auto const bytes = readBytes(path(name));
        return Frame(bytes.data()).record<Record>();
    }
};

}

static GnssPvt pvtAt(double latitude, double longitude)
{
    GnssPvt pvt = {};
    pvt.ticks = 1000;
    pvt.fixType = 4;
    pvt.utcTime = 1000000;
    pvt.latitude = static_cast<int32_t>(std::llround(latitude * 1e7));
    pvt.longitude = static_cast<int32_t>(std::llround(longitude * 1e7));
    pvt.altitude = 5000;
    return pvt;
}

static GnssData around(GnssPvt const& pvt)
{
    GnssData data = {};
    data.pvt = pvt;
    return data;
}

// By how many metres a position was moved, to the north and to the east.
static GroundShift movedBy(GnssPvt const& from, GnssPvt const& to)
{
    double distance = 0;
    double azimuth = 0;
    double azimuthThere = 0;
    Geodesic::WGS84().Inverse(from.latitude / 1e7, from.longitude / 1e7, to.latitude / 1e7,
                              to.longitude / 1e7, distance, azimuth, azimuthThere);
    double const radians = azimuth * M_PI / 180;
    return {distance * std::cos(radians), distance * std::sin(radians)};
}

static GnssPvt withPlaceOf(GnssPvt pvt, GnssPvt const& other)
{
    pvt.latitude = other.latitude;
    pvt.longitude = other.longitude;
    return pvt;
}

TEST_F(RedactTest, movesEveryPositionByTheSameMetresAndTouchesNothingElse)
{
    static constexpr double NORTH = 12345.6;
    static constexpr double EAST = -6543.2;
    double const places[][2] = {{0, 0.0001},    {52, 5},    {-33.9, 151.2}, {70, 179.999},
                                {-70, -179.99}, {89.5, 30}, {-89.7, 100},   {45, -180}};
    std::mt19937 random(1);
    for (auto const& [latitude, longitude] : places) {
        SCOPED_TRACE(latitude);
        for (unsigned i = 0; i < 50; ++i) {
            GnssPvt const pvt =
                pvtAt(latitude + static_cast<int>(random() % 1000) * 1e-6, longitude);
            write("in", frameOf(pvt));
            redact({{}, GroundShift{NORTH, EAST}, {}, false, 0});
            auto const moved = first<GnssPvt>("out");
            GroundShift const by = movedBy(pvt, moved);
            // A unit of the position is 11 mm.
            ASSERT_NEAR(NORTH, by.north, 0.012);
            ASSERT_NEAR(EAST, by.east, 0.012);
            ASSERT_EQ(pvt, withPlaceOf(moved, pvt));

            write("in", frameOf(around(pvt)));
            redact({{}, GroundShift{NORTH, EAST}, {}, false, 0});
            ASSERT_EQ(around(moved), first<GnssData>("out"));
        }
    }
}

TEST_F(RedactTest, movesAcrossThePoleAndTheDateLine)
{
    write("in", frameOf(pvtAt(89.9999, 10)));
    redact({{}, GroundShift{100, 0}, {}, false, 0});
    EXPECT_EQ(-1700000000, first<GnssPvt>("out").longitude);
    write("in", frameOf(pvtAt(0, 179.9999)));
    redact({{}, GroundShift{0, 100}, {}, false, 0});
    EXPECT_LT(first<GnssPvt>("out").longitude, -1799900000);
}

TEST_F(RedactTest, keepsTheTrackInMetresAtANewOrigin)
{
    GnssPvt const start = pvtAt(60, 10);
    write("in", frameOf(start) + frameOf(pvtAt(60.01, 10.02)));
    redact({{}, {}, GroundPoint{-10, 179.999}, false, 0});
    auto const out = readBytes(path("out"));
    auto const a = Frame(out.data()).record<GnssPvt>();
    auto const b = Frame(out.data() + FRAME_SIZE<GnssPvt>).record<GnssPvt>();
    EXPECT_EQ(-100000000, a.latitude);
    EXPECT_EQ(1799990000, a.longitude);
    GroundShift const before = movedBy(start, pvtAt(60.01, 10.02));
    GroundShift const after = movedBy(a, b);
    EXPECT_NEAR(before.north, after.north, 0.02);
    EXPECT_NEAR(before.east, after.east, 0.02);
}

TEST_F(RedactTest, hidesPositionsWithoutAFixAndInAbsentSections)
{
    GnssPvt old = pvtAt(52, 5);
    old.fixType = 0;
    GnssData absent = around(pvtAt(52, 5));
    absent.pvt.ticks = 0;
    write("in", frameOf(old) + frameOf(absent));
    EXPECT_EQ(2U, redact({{}, GroundShift{1000, 0}, {}, false, 0}).positions);
    EXPECT_NE(old.latitude, first<GnssPvt>("out").latitude);
    auto const out = readBytes(path("out"));
    auto const data = Frame(out.data() + FRAME_SIZE<GnssPvt>).record<GnssData>();
    EXPECT_NE(absent.pvt.latitude, data.pvt.latitude);
    EXPECT_EQ(0U, data.pvt.ticks);
}

TEST_F(RedactTest, leavesNoPositionWhereItIsAsItWouldShowTheShift)
{
    GnssPvt none = pvtAt(0, 0);
    none.fixType = 0;
    write("in", frameOf(none));
    EXPECT_EQ(0U, redact({{}, GroundShift{1000, 0}, {}, false, 0}).positions);
    EXPECT_EQ(none, first<GnssPvt>("out"));
}

TEST_F(RedactTest, setsPositionsThatCannotBeToZero)
{
    GnssPvt flipped = pvtAt(52, 5);
    flipped.latitude |= 1 << 30;
    write("in", frameOf(flipped));
    EXPECT_EQ(1U, redact({{}, GroundShift{1000, 0}, {}, false, 0}).impossible);
    EXPECT_EQ(withPlaceOf(flipped, GnssPvt{}), first<GnssPvt>("out"));
}

TEST_F(RedactTest, stripsPositionAndAltitude)
{
    GnssPvt pvt = pvtAt(52, 5);
    write("in", frameOf(pvt));
    redact({{}, {}, {}, true, 0});
    pvt.latitude = pvt.longitude = pvt.altitude = 0;
    EXPECT_EQ(pvt, first<GnssPvt>("out"));
}

TEST_F(RedactTest, movesUtcThatIsSetAndRefusesOneThatLeavesItsRange)
{
    GnssPvt pvt = pvtAt(52, 5);
    GnssPvt unset = pvt;
    unset.utcTime = 0;
    write("in", frameOf(around(pvt)) + frameOf(unset));
    EXPECT_EQ(1U, redact({{}, {}, {}, false, -86400}).utcs);
    pvt.utcTime -= 86400;
    EXPECT_EQ(frameOf(around(pvt)) + frameOf(unset), read("out"));
    EXPECT_THROW(redact({{}, {}, {}, false, -2000000}), FileError);
}

TEST_F(RedactTest, leavesOtherRecordsAndTheirFlagsAsTheyAre)
{
    std::string log;
    for (std::string const& frame : generateFrames(3, 300))
        if (frame[0] != 2 && frame[0] != 3)
            log += frame;
    write("in", log);
    redact({{}, GroundShift{1000, 1000}, {}, false, 5});
    EXPECT_TRUE(log == read("out"));
}

TEST_F(RedactTest, namesWhatStillTells)
{
    write("in", frameOf(pvtAt(52, 5)) + genericFrame(5));
    RedactOptions options;
    options.shift = GroundShift{1000, 0};
    auto const tells = whatStillTells(options, redact(options));
    auto const mentions = [&](std::string const& word) {
        for (std::string const& tell : tells)
            if (tell.find(word) != std::string::npos)
                return true;
        return false;
    };
    EXPECT_TRUE(mentions("altitude"));
    EXPECT_TRUE(mentions("UTC"));
    EXPECT_TRUE(mentions("GenericData"));
    EXPECT_FALSE(mentions("inertial")); // there is none
}
