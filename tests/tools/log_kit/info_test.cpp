#include "log_kit/info.h"

#include <gtest/gtest.h>

#include <limits>

#include "generated_log.h"
#include "log_frames/file_error.h"
#include "log_frames/frame_writer.h"
#include "log_kit/info_report.h"
#include "temp_dir.h"

namespace
{

/// A log in the making.
class Log
{
public:
    template <class Record>
    void add(Record const& record)
    {
        auto const frame = encodeFrame(record);
        m_bytes.insert(m_bytes.end(), frame.begin(), frame.end());
    }
    void addGeneric(uint32_t ticks) { add(GenericData{ticks, {0, 0}}); }
    std::vector<unsigned char>& bytes() { return m_bytes; }

    Info info(InfoOptions options = {}) const
    {
        TempDir const dir;
        writeBytes(dir.file("log"), m_bytes);
        options.file = dir.file("log");
        Progress progress;
        return ::info(options, progress);
    }

private:
    std::vector<unsigned char> m_bytes;
};

}

static GnssPvt pvtAt(uint32_t ticks, int32_t fix)
{
    GnssPvt pvt = {};
    pvt.ticks = ticks;
    pvt.fixType = fix;
    pvt.utcTime = 1700000000 + static_cast<int32_t>(ticks / 1000);
    pvt.satelliteCount = 10;
    pvt.latitude = 480000000;
    pvt.longitude = 116000000;
    return pvt;
}

static std::vector<eJump> kindsOf(Info const& info)
{
    std::vector<eJump> kinds;
    for (JumpInfo const& jump : info.jumps)
        kinds.push_back(jump.jump.kind);
    return kinds;
}

TEST(Info, ofAnEmptyLogIsEmpty)
{
    Info const info = Log().info();
    EXPECT_EQ(0U, info.totals.frames);
    EXPECT_EQ(std::nullopt, info.seconds);
    EXPECT_EQ(std::nullopt, info.replay.seconds());
    Json const json = infoJson("log", info);
    EXPECT_TRUE(json["time"]["duration_s"].is_null());
    EXPECT_TRUE(json["time"]["utc_start"].is_null());
    EXPECT_TRUE(json["types"]["ImuData"]["rate_hz"]["median"].is_null());
    EXPECT_TRUE(json["gnss"]["satellites"]["min"].is_null());
    EXPECT_TRUE(json["gnss"]["bounding_box"]["south"].is_null());
    EXPECT_TRUE(json["gnss"]["last_position"]["latitude"].is_null());
    EXPECT_TRUE(json["replay"]["duration_s"].is_null());
    EXPECT_EQ(0U, json["types"]["ImuData"]["count"]);
}

TEST(Info, spansAWrapAndForetellsTheReplay)
{
    Log log;
    log.addGeneric(0xFFFFFC18); // 1000 ms before the wrap
    log.addGeneric(0xFFFFFFFF);
    log.addGeneric(1000);
    Info const info = log.info();
    EXPECT_EQ(2.0, info.seconds);
    EXPECT_EQ(std::vector<eJump>{eJump::Wrap}, kindsOf(info));
    EXPECT_EQ(2U, info.jumps[0].frame);
    EXPECT_EQ(48U, info.jumps[0].offset);
    EXPECT_EQ(0.999, info.replay.seconds());
    EXPECT_EQ(2U, info.replay.backToBackFrom());
}

TEST(Info, goesOnAfterARestart)
{
    Log log;
    for (uint32_t ticks = 100000; ticks < 105000; ticks += 100)
        log.addGeneric(ticks);
    for (uint32_t ticks = 10; ticks < 5010; ticks += 100)
        log.addGeneric(ticks);
    Info const info = log.info();
    EXPECT_EQ(std::vector<eJump>{eJump::Restart}, kindsOf(info));
    EXPECT_EQ(9.8, info.seconds);
    EXPECT_EQ(4.9, info.replay.seconds());
    EXPECT_EQ(50U, info.replay.backToBackFrom());
    EXPECT_TRUE(info.gaps.empty());
}

TEST(Info, isNotMisledByASingleStampFarOff)
{
    for (uint32_t const stray : {3000000000U, 7U}) {
        Log log;
        for (uint32_t ticks = 100000; ticks < 110000; ticks += 100)
            log.addGeneric(ticks == 104000 ? stray : ticks);
        Info const info = log.info();
        EXPECT_EQ(std::vector<eJump>{eJump::Back}, kindsOf(info)) << stray;
        EXPECT_EQ(0U, info.restarts);
        EXPECT_EQ(9.9, info.seconds) << stray;
        EXPECT_TRUE(info.gaps.empty()) << stray;
        EXPECT_EQ(100U, info.types[INDEX_OF<GenericData>].count);
        EXPECT_EQ(10.0, info.types[INDEX_OF<GenericData>].rate->median);
    }
}

TEST(Info, tellsOfGapsByTheUsualInterval)
{
    Log log;
    for (uint32_t ticks = 0; ticks < 60000; ticks += 1000)
        if (ticks < 20000 || ticks > 25000)
            log.addGeneric(ticks);
    Info info = log.info();
    ASSERT_EQ(1U, info.gaps.size());
    EXPECT_EQ(7000, info.gaps[0].length);

    InfoOptions options;
    options.gap = 8.0;
    EXPECT_TRUE(log.info(options).gaps.empty());
    options.gap = 0.9;
    EXPECT_EQ(53U, log.info(options).gaps.size());
}

TEST(Info, sharesTheTimeAmongFixes)
{
    Log log;
    for (uint32_t ticks = 200; ticks <= 2000; ticks += 200)
        log.add(pvtAt(ticks, ticks <= 1400 ? 4 : 0));
    GnssSummary const& gnss = log.info().gnss;
    EXPECT_DOUBLE_EQ(0.7, *gnss.fixShare(4));
    EXPECT_DOUBLE_EQ(0.3, *gnss.fixShare(0));
    EXPECT_EQ(0.0, gnss.fixShare(3));
}

TEST(Info, weighsAFixByItsTimeButNotThroughASilence)
{
    Log log;
    log.add(pvtAt(1000, 4)); // holds for 3 s
    log.add(pvtAt(4000, 0)); // holds for 5 s at most
    log.add(pvtAt(4000000, 3));
    GnssSummary const& gnss = log.info().gnss;
    EXPECT_DOUBLE_EQ(3.0 / 13, *gnss.fixShare(4));
    EXPECT_DOUBLE_EQ(5.0 / 13, *gnss.fixShare(0));
    EXPECT_DOUBLE_EQ(5.0 / 13, *gnss.fixShare(3));
}

TEST(Info, keepsWhatMeansNothingOutOfBoxAndUtc)
{
    GnssPvt noFix = pvtAt(1000, 0);
    noFix.latitude = 0;
    GnssPvt timeOnly = pvtAt(1200, 2);
    timeOnly.longitude = 0;
    GnssPvt noUtc = pvtAt(1400, 4);
    noUtc.utcTime = 0;
    GnssPvt beyond = pvtAt(1600, 4);
    beyond.latitude = 900000001;
    GnssPvt const last = pvtAt(61800, 3);
    GnssData absent = {};
    absent.pvt = pvtAt(0, 4);
    absent.pvt.latitude = 1;
    absent.dop.ticks = 61900;

    Log log;
    for (auto const& pvt : {noFix, timeOnly, noUtc, beyond, last})
        log.add(pvt);
    log.add(absent);
    Info const info = log.info();
    EXPECT_EQ(48.0, info.gnss.box()->south);
    EXPECT_EQ(48.0, info.gnss.box()->north);
    EXPECT_EQ(11.6, info.gnss.box()->west);
    EXPECT_EQ(11.6, info.gnss.box()->east);
    EXPECT_EQ(1700000001, info.gnss.utcStart());
    EXPECT_EQ(1700000061, info.gnss.utcEnd());
    EXPECT_EQ(1U, info.implausible);
}

TEST(Info, countsRecordsWithValuesThatCannotBe)
{
    float const infinity = std::numeric_limits<float>::infinity();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    struct Case
    {
        char const* name;
        uint64_t count;
        void (*change)(GnssPvt&);
    };
    Case const cases[] = {
        {"at the pole", 0, [](GnssPvt& p) { p.latitude = -900000000; }},
        {"beyond the pole", 1, [](GnssPvt& p) { p.latitude = -900000001; }},
        {"date line", 0, [](GnssPvt& p) { p.longitude = 1800000000; }},
        {"beyond the date line", 1, [](GnssPvt& p) { p.longitude = 1800000001; }},
        {"fast", 0, [](GnssPvt& p) { p.groundSpeed = 1000000; }},
        {"too fast", 1, [](GnssPvt& p) { p.groundSpeed = 1000001; }},
        {"too fast down", 1, [](GnssPvt& p) { p.velocityDown = INT32_MIN; }},
    };
    for (auto const& c : cases) {
        Log log;
        GnssPvt pvt = pvtAt(1000, 4);
        c.change(pvt);
        log.add(pvt);
        EXPECT_EQ(c.count, log.info().implausible) << c.name;
    }
    Log log;
    log.add(ImuData{1, {0, 0, 0, 0, 0, nan}});
    log.add(ImuData{2, {-infinity, 0, 0, 0, 0, 0}});
    log.add(AttitudeData{3, {0, 0, 0, infinity}, {}});
    log.add(AttitudeData{4, {0, 0, 0, 1e38F}, {true}});
    EXPECT_EQ(3U, log.info().implausible);
}

TEST(Info, foretellsAReplayUpToTheDamageThatEndsIt)
{
    Log log;
    for (uint32_t ticks = 0; ticks < 10000; ticks += 1000)
        log.addGeneric(ticks);
    log.bytes()[2 * 24 + 2] = 9; // a length, which replay does not read
    log.bytes()[5 * 24] = 9;     // a type
    Info const info = log.info();
    EXPECT_EQ(8U, info.totals.frames);
    EXPECT_EQ(4U, info.replay.frames());
    EXPECT_EQ(4.0, info.replay.seconds());
    EXPECT_EQ(5U * 24, info.replayEndsAt);
}

TEST(Info, knowsWhetherTheLogEndsCleanly)
{
    Log log;
    log.addGeneric(1);
    EXPECT_TRUE(log.info().totals.endsWithFrame);
    log.bytes().push_back(5);
    EXPECT_FALSE(log.info().totals.endsWithFrame);
}

TEST(InfoThresholds, areMissedByGapsRatesAndFixes)
{
    Log log;
    for (uint32_t ticks = 0; ticks < 10000; ticks += 100)
        if (ticks < 4000 || ticks > 7000)
            log.add(pvtAt(ticks, ticks < 2000 ? 3 : 4));
    Info const info = log.info();

    InfoThresholds met;
    met.maxGap = 3.2;
    met.minRate[INDEX_OF<GnssPvt>] = 10;
    met.minFix[4] = 0.5;
    EXPECT_TRUE(missed(met, info).empty());

    InfoThresholds unmet;
    unmet.maxGap = 3.1;
    unmet.minRate[INDEX_OF<GnssPvt>] = 10.5;
    unmet.minRate[INDEX_OF<ImuData>] = 1;
    unmet.minFix[4] = 0.9;
    EXPECT_EQ(4U, missed(unmet, info).size());
}

TEST(InfoThresholds, areMissedByAGapThatIsNotToldByDefault)
{
    Log log;
    for (uint32_t ticks = 0; ticks < 10000; ticks += 10)
        if (ticks < 4000 || ticks > 4300)
            log.addGeneric(ticks);
    EXPECT_TRUE(log.info().gaps.empty());
    InfoOptions options;
    options.shortestGap = 0.2;
    EXPECT_EQ(1U, log.info(options).gaps.size());
}

TEST(Info, survivesGeneratedLogsWithDamage)
{
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::string log = joined(generateFrames(seed, 500));
        log.erase(seed * 31, 100);
        Log bytes;
        bytes.bytes().assign(log.begin(), log.end());
        Info const result = bytes.info();
        EXPECT_GT(result.totals.frames, 490U);
        EXPECT_FALSE(infoText("log", result).empty());
        EXPECT_FALSE(infoLine("log", result).empty());
        EXPECT_FALSE(dumped(infoJson("log", result)).empty());
    }
}
