#include "gnss_text.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <ios>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "child_process.h"

static constexpr GnssPvt PVT = {123456,    3,     1583938861, 25, 17,          -1224194155,
                                377749295, -1234, 1500,       98, -1,          2,
                                -3000,     4,     -35999,     6,  4294967295U, 7};
static char const* const PVT_TEXT = "Fix: 2D\n"
                                    "UTC: Wed Mar 11 15:01:01 2020 GMT\n"
                                    "Time accuracy: 25 ns\n"
                                    "Satellite count: 17\n"
                                    "Position: (longitude: -1224194155 1e-7 Degrees, "
                                    "latitude: 377749295 1e-7 Degrees, altitude: -1234 mm)\n"
                                    "Position accuracy: (horizontal: 1500 mm, vertical: 98 mm, "
                                    "pDop: 7)\n"
                                    "Velocity: (north: -1 mm/s, east: 2 mm/s, down: -3000 mm/s)\n"
                                    "Ground speed: 4 mm/s\n"
                                    "Speed accuracy: 6 mm/s\n"
                                    "Heading of motion: -35999 1e-5 Degrees\n"
                                    "Heading accuracy: 4294967295 1e-5 Degrees\n"
                                    "Timestamp: 123456 ms";
static constexpr GnssDop DOP = {54321, 11, 22, 33};
static char const* const DOP_TEXT = "hDop: 11, pDop: 22, vDop: 33";

namespace
{

/// Writes its format characters in brackets in place of any date and time.
class BracketedTime : public std::time_put<char>
{
protected:
    iter_type do_put(iter_type out, std::ios_base& /*stream*/, char_type /*fill*/,
                     tm const* /*time*/, char format, char /*modifier*/) const override
    {
        *out++ = '[';
        *out++ = format;
        *out++ = ']';
        return out;
    }
};

}

static std::ostringstream classicStream()
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    return out;
}

template <class Record>
static std::string textOf(Record const& record)
{
    std::ostringstream out = classicStream();
    EXPECT_EQ(&out, &(out << record));
    return out.str();
}

/// What follows `label` on its line.
static std::string lineOf(std::string const& text, std::string const& label)
{
    size_t const start = text.find(label);
    EXPECT_NE(std::string::npos, start);
    size_t const value = start + label.size();
    return text.substr(value, text.find('\n', value) - value);
}

TEST(GnssText, writesADopOnOneLineWithoutItsTimeStamp)
{
    EXPECT_EQ(DOP_TEXT, textOf(DOP));
    EXPECT_EQ("hDop: 4294967295, pDop: 0, vDop: 2147483648",
              textOf(GnssDop{1, 0xFFFFFFFF, 0, 0x80000000}));
}

TEST(GnssText, writesAPvtInReadingOrderWithUnits)
{
    EXPECT_EQ(PVT_TEXT, textOf(PVT));
}

TEST(GnssText, writesSignedFieldsWithTheirSignAndUnsignedOnesWithoutOne)
{
    static constexpr uint32_t MAX = 0xFFFFFFFF;
    GnssPvt const pvt = {MAX, -1, -1, MAX, MAX, -1, -1,  -1,  MAX,
                         MAX, -1, -1, -1,  -1,  -1, MAX, MAX, MAX};
    EXPECT_EQ("Fix: Unknown\n"
              "UTC: Wed Dec 31 23:59:59 1969 GMT\n"
              "Time accuracy: 4294967295 ns\n"
              "Satellite count: 4294967295\n"
              "Position: (longitude: -1 1e-7 Degrees, latitude: -1 1e-7 Degrees, altitude: -1 mm)\n"
              "Position accuracy: (horizontal: 4294967295 mm, vertical: 4294967295 mm, "
              "pDop: 4294967295)\n"
              "Velocity: (north: -1 mm/s, east: -1 mm/s, down: -1 mm/s)\n"
              "Ground speed: -1 mm/s\n"
              "Speed accuracy: 4294967295 mm/s\n"
              "Heading of motion: -1 1e-5 Degrees\n"
              "Heading accuracy: 4294967295 1e-5 Degrees\n"
              "Timestamp: 4294967295 ms",
              textOf(pvt));
}

TEST(GnssText, namesTheFixType)
{
    struct
    {
        int32_t fixType;
        char const* text;
    } const cases[] = {
        {0, "NO"},
        {1, "Dead reckoning"},
        {2, "Time only"},
        {3, "2D"},
        {4, "3D"},
        {5, "Unknown"},
        {-1, "Unknown"},
        {256, "Unknown"},
        {std::numeric_limits<int32_t>::max(), "Unknown"},
        {std::numeric_limits<int32_t>::min(), "Unknown"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.fixType);
        GnssPvt pvt = PVT;
        pvt.fixType = c.fixType;
        EXPECT_EQ(c.text, pvt.getFixTypeText());
        EXPECT_EQ(c.text, lineOf(textOf(pvt), "Fix: "));
    }
}

TEST(GnssText, convertsEveryUtcTime)
{
    struct
    {
        int32_t utcTime;
        char const* text;
    } const cases[] = {
        {0, "Thu Jan  1 00:00:00 1970 GMT"},
        {-1, "Wed Dec 31 23:59:59 1969 GMT"},
        {std::numeric_limits<int32_t>::min(), "Fri Dec 13 20:45:52 1901 GMT"},
        {std::numeric_limits<int32_t>::max(), "Tue Jan 19 03:14:07 2038 GMT"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.utcTime);
        GnssPvt pvt = PVT;
        pvt.utcTime = c.utcTime;
        EXPECT_EQ(c.text, lineOf(textOf(pvt), "UTC: "));
    }
}

TEST(GnssText, isInUtcWhateverTheProcesssTimeZone)
{
    ChildResult const result = runInChild([] {
        setenv("TZ", "XYZ-5:30", 1);
        tzset();
        fputs(textOf(PVT).c_str(), stdout);
    });
    EXPECT_EQ(PVT_TEXT, result.output);
}

TEST(GnssText, writesTheTimeInTheStreamsLocale)
{
    std::ostringstream out;
    out.imbue(std::locale(std::locale::classic(), new BracketedTime)); // owned by the locale
    out << PVT;
    EXPECT_EQ("[c] [Z]", lineOf(out.str(), "UTC: "));
}

TEST(GnssText, writesNumbersInTheStreamsFormat)
{
    std::ostringstream out = classicStream();
    out << std::hex << std::showbase << DOP;
    EXPECT_EQ("hDop: 0xb, pDop: 0x16, vDop: 0x21", out.str());
}

TEST(GnssText, writesAbsentSectionsAsInvalid)
{
    struct
    {
        uint32_t pvtTicks;
        uint32_t dopTicks;
        std::string text;
    } const cases[] = {
        {0, 0, "\nPVT data: Invalid\nDOP data: Invalid"},
        {0, DOP.ticks, "\nPVT data: Invalid\nDOP data: " + std::string(DOP_TEXT)},
        {PVT.ticks, 0, "\nPVT data: " + std::string(PVT_TEXT) + "\nDOP data: Invalid"},
        {PVT.ticks, DOP.ticks, "\nPVT data: " + std::string(PVT_TEXT) + "\nDOP data: " + DOP_TEXT},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        GnssData data = {eGnssSource::Live, 0x9, PVT, DOP};
        data.pvt.ticks = c.pvtTicks;
        data.dop.ticks = c.dopTicks;
        EXPECT_EQ("Source: LIVE GNSS\nSatellite constellation: GPS, BEIDOU" + c.text, textOf(data));
    }
}

TEST(GnssText, namesTheSource)
{
    struct
    {
        uint32_t source;
        char const* text;
    } const cases[] = {
        {0, "LIVE GNSS"}, {1, "STORED GNSS"},      {2, "STORED GNSS"},
        {3, "UNKONWN"},   {0xFFFFFFFF, "UNKONWN"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.source);
        auto const source = static_cast<eGnssSource>(c.source);
        std::ostringstream out = classicStream();
        EXPECT_EQ(&out, &addSourceText(out, source));
        EXPECT_EQ(c.text, out.str());
        EXPECT_EQ(c.text, lineOf(textOf(GnssData{source, 0, PVT, DOP}), "Source: "));
    }
}

TEST(GnssText, namesTheSatelliteSystemsWithBeiDouBeforeGalileo)
{
    struct
    {
        unsigned mask;
        char const* text;
    } const cases[] = {
        {0x0, "NONE"},
        {0x1, "GPS"},
        {0x2, "GLONASS"},
        {0x3, "GPS, GLONASS"},
        {0x4, "GALILEO"},
        {0x5, "GPS, GALILEO"},
        {0x8, "BEIDOU"},
        {0xA, "GLONASS, BEIDOU"},
        {0xC, "BEIDOU, GALILEO"},
        {0xF, "GPS, GLONASS, BEIDOU, GALILEO"},
        {0x10, "NONE"},
        {0xFFFFFFF0, "NONE"},
        {0xFFFFFFFF, "GPS, GLONASS, BEIDOU, GALILEO"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mask);
        std::ostringstream out = classicStream();
        EXPECT_EQ(&out, &addConstellationText(out, c.mask));
        EXPECT_EQ(c.text, out.str());
        EXPECT_EQ(c.text, lineOf(textOf(GnssData{eGnssSource::Live, c.mask, PVT, DOP}),
                                 "Satellite constellation: "));
    }
}
