#include "log_kit/record_filter.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "log_frames/frame_writer.h"
#include "temp_dir.h"

// The stamps that pass, of GenericData with these stamps.
static std::vector<uint32_t> passing(FilterOptions const& options,
                                     std::vector<uint32_t> const& stamps)
{
    RecordFilter filter(options);
    std::vector<uint32_t> result;
    for (uint32_t const ticks : stamps) {
        auto const frame = encodeFrame(GenericData{ticks, {}});
        if (filter.accepts(Frame(frame.data())))
            result.push_back(ticks);
    }
    return result;
}

using Stamps = std::vector<uint32_t>;

TEST(RecordFilter, passesAllByDefault)
{
    EXPECT_EQ((Stamps{5, 6, 4}), passing({}, {5, 6, 4}));
}

TEST(RecordFilter, passesFromOneTimeToBeforeAnother)
{
    FilterOptions options;
    options.from = parseTimePoint("20");
    options.to = parseTimePoint("+30ms");
    EXPECT_EQ((Stamps{20, 30, 39}), passing(options, {10, 19, 20, 30, 39, 40, 50}));
}

TEST(RecordFilter, knowsTheTimeThroughAWrap)
{
    FilterOptions options;
    options.from = parseTimePoint("+10ms");
    options.to = parseTimePoint("20");
    EXPECT_EQ((Stamps{0xFFFFFFFA, 0, 10}),
              passing(options, {0xFFFFFFF0, 0xFFFFFFFA, 0, 10, 20, 30}));
}

TEST(RecordFilter, passesTypesAndEverySoManyOfEach)
{
    FilterOptions options;
    options.types = {};
    options.types[parseType("generic")] = true;
    options.every = 3;
    EXPECT_EQ((Stamps{0, 3, 6}), passing(options, {0, 1, 2, 3, 4, 5, 6, 7}));
    options.types = {};
    EXPECT_EQ(Stamps{}, passing(options, {0, 1}));
    EXPECT_THROW(parseType("ImuData"), std::invalid_argument);
}

TEST(RecordFilter, passesRecordsBeforeTheFirstStampUnlessThereIsAStart)
{
    auto const absent = encodeFrame(GnssData{});
    FilterOptions options;
    EXPECT_TRUE(RecordFilter(options).accepts(Frame(absent.data())));
    options.from = parseTimePoint("+0");
    EXPECT_FALSE(RecordFilter(options).accepts(Frame(absent.data())));
}

TEST(RecordFilter, needsALogWithUtcForUtc)
{
    FilterOptions options;
    options.from = parseTimePoint("1970-01-01T00:16:41Z");
    EXPECT_TRUE(options.needsUtc());
    EXPECT_THROW(RecordFilter(options, LogStart{}), std::invalid_argument);

    TempDir const dir;
    std::vector<unsigned char> log;
    for (uint32_t ticks = 50000; ticks < 53000; ticks += 500) {
        GnssPvt pvt = {};
        pvt.ticks = ticks;
        pvt.fixType = 4;
        pvt.utcTime = static_cast<int32_t>(950 + ticks / 1000);
        auto const frame = encodeFrame(pvt);
        log.insert(log.end(), frame.begin(), frame.end());
    }
    writeBytes(dir.file("log"), log);
    RecordFilter filter(options, findStart(dir.file("log")));
    std::vector<uint32_t> accepted;
    for (size_t at = 0; at < log.size(); at += FRAME_SIZE<GnssPvt>)
        if (filter.accepts(Frame(&log[at])))
            accepted.push_back(Frame(&log[at]).ticks());
    EXPECT_EQ((Stamps{51000, 51500, 52000, 52500}), accepted);
}
