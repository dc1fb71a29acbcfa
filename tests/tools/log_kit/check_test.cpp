#include "log_kit/check.h"

#include <gtest/gtest.h>

#include "generated_log.h"
#include "golden.h"
#include "log_kit/json.h"
#include "log_kit/text.h"
#include "temp_dir.h"

static std::vector<DamagedRegion> regionsOf(std::string const& log)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {log.begin(), log.end()});
    Progress progress;
    std::vector<DamagedRegion> regions;
    LogTotals const totals =
        check({dir.file("log")}, progress, [&](DamagedRegion const& r) { regions.push_back(r); });
    EXPECT_EQ(log.size(), totals.bytes);
    EXPECT_EQ(regions.size(), totals.regions);
    return regions;
}

TEST(Check, findsNothingInACleanLog)
{
    EXPECT_TRUE(regionsOf(joined(generateFrames(1, 100))).empty());
    EXPECT_TRUE(regionsOf("").empty());
}

TEST(Check, namesWhereADamageIsAndWhatItIs)
{
    std::string bad = genericFrame(1010);
    bad.replace(20, 4, "\x01\x02\x03\x04");
    auto const regions = regionsOf(genericFrame(1000) + bad + genericFrame(1020));
    ASSERT_EQ(1U, regions.size());
    EXPECT_EQ(1000U, regions[0].ticksBefore);
    EXPECT_EQ(1020U, regions[0].ticksAfter);
    EXPECT_EQ(0.02, regions[0].seconds());
    EXPECT_EQ("offset 24, 24 bytes: footer: expected d0 c0 b0 a0, found 01 02 03 04; "
              "between ticks 1000 and 1020 (0.02 s); at most 1 record",
              regionText(regions[0]));
}

TEST(Check, namesWhatTheReferenceFilesSay)
{
    auto const files = goldenFiles(".log.hex");
    ASSERT_GE(files.size(), 12U);
    for (auto const& file : files) {
        SCOPED_TRACE(file);
        Golden const golden = readGolden(file);
        auto const regions = regionsOf({golden.bytes.begin(), golden.bytes.end()});
        ASSERT_EQ(golden.expectations.size(), regions.size());
        for (size_t i = 0; i < regions.size(); ++i)
            EXPECT_EQ(Json::parse(golden.expectations[i]), jsonOf(regions[i]));
    }
}

TEST(Check, takesDamageSideBySideForOneRegion)
{
    std::string first = genericFrame(1010);
    first[20] = 0;
    std::string second = genericFrame(1020);
    second[23] = 0;
    auto const regions = regionsOf(genericFrame(1000) + first + second + genericFrame(1030));
    ASSERT_EQ(1U, regions.size());
    EXPECT_EQ(48U, regions[0].length);
    EXPECT_EQ(2U, regions[0].framesAtMost);
}

TEST(Check, knowsNoTicksAtTheEnds)
{
    auto const regions = regionsOf("x" + genericFrame(1000) + "y");
    ASSERT_EQ(2U, regions.size());
    EXPECT_EQ("offset 0, 1 byte: type: expected 1 to 5, found 120; before ticks 1000; "
              "at most 1 record",
              regionText(regions[0]));
    EXPECT_EQ("offset 25, 1 byte: type: expected 1 to 5, found 121; after ticks 1000; "
              "at most 1 record",
              regionText(regions[1]));
    EXPECT_EQ(std::nullopt, regions[0].seconds());
}

TEST(Check, knowsNoTimeAcrossARestart)
{
    auto const regions = regionsOf(genericFrame(900000) + "x" + genericFrame(10));
    EXPECT_EQ(std::nullopt, regions.at(0).seconds());
    auto const wrapped = regionsOf(genericFrame(0xFFFFFFFF) + "x" + genericFrame(9));
    EXPECT_EQ(0.01, wrapped.at(0).seconds());
}
