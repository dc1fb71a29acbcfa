#include "log_kit/diff.h"

#include "log_files.h"
#include "log_frames/file_error.h"
#include "log_kit/diff_report.h"
#include "log_kit/record_fields.h"
#include "log_kit/retime.h"

namespace
{

class DiffTest : public LogFiles
{
protected:
    DiffResult diff(std::string const& a, std::string const& b)
    {
        DiffOptions options;
        options.a = path(a);
        options.b = path(b);
        return ::diff(options, m_progress);
    }
};

}

static constexpr size_t GENERIC = INDEX_OF<GenericData>;

static std::string generic(uint32_t ticks, uint32_t value)
{
    return frameOf(GenericData{ticks, {value, 0}});
}

static size_t fieldOf(size_t index, std::string const& name)
{
    auto const& fields = recordFields(index);
    for (size_t i = 0; i < fields.size(); ++i)
        if (fields[i].name == name)
            return i;
    ADD_FAILURE() << name;
    return 0;
}

TEST_F(DiffTest, findsALogTheSameAsItself)
{
    write("a", joined(generateFrames(1, 5000)));
    DiffResult const result = diff("a", "a");
    EXPECT_TRUE(result.isSame());
    EXPECT_EQ(5000U, result.inBoth());
    EXPECT_EQ(0, result.shift.ms);
    EXPECT_EQ(eShiftSource::Content, result.shift.source);
}

TEST_F(DiffTest, findsRecordsThatAreFarOutOfOrder)
{
    std::string log;
    for (uint32_t const ticks : {10000U, 8500U, 7000U, 5500U, 20000U, 30000U})
        log += generic(ticks, ticks);
    write("a", log);
    EXPECT_TRUE(diff("a", "a").isSame());
}

TEST_F(DiffTest, findsTheTimeShiftOfALogWithTheSameContent)
{
    write("a", joined(generateFrames(2, 5000, 100000)));
    retime({{path("a"), path("b"), false}, eRetime::Shift, 7654321, 0}, m_progress);
    DiffResult const result = diff("a", "b");
    EXPECT_EQ(7654321, result.shift.ms);
    EXPECT_TRUE(result.isSame());
    EXPECT_EQ(-7654321, diff("b", "a").shift.ms);
}

TEST_F(DiffTest, namesTheRecordsThatOnlyOneLogHas)
{
    Frames frames = generateFrames(3, 2000);
    std::string const all = joined(frames);
    frames.erase(frames.begin() + 700, frames.begin() + 800);
    write("a", all);
    write("b", joined(frames));
    DiffResult const result = diff("a", "b");
    EXPECT_EQ(1900U, result.inBoth());
    ASSERT_EQ(1U, result.runs.size());
    EXPECT_EQ(eDifference::OnlyInA, result.runs[0].kind);
    EXPECT_EQ(100U, result.runs[0].count);
    EXPECT_EQ(700U, result.runs[0].frame);
    EXPECT_EQ(1000U + 10 * 799, result.runs[0].lastTicks);
    EXPECT_EQ(eDifference::OnlyInB, diff("b", "a").runs.at(0).kind);
}

TEST_F(DiffTest, namesTheFieldsThatDiffer)
{
    GnssPvt pvt = {};
    pvt.ticks = 1000;
    pvt.latitude = 500;
    GnssPvt other = pvt;
    other.latitude = 470;
    std::string const shared = generic(990, 1) + generic(1010, 2);
    write("a", shared + frameOf(pvt));
    write("b", shared + frameOf(other));
    DiffResult const result = diff("a", "b");
    TypeDifference const& type = result.types[INDEX_OF<GnssPvt>];
    EXPECT_EQ(1U, type.differing);
    size_t const latitude = fieldOf(INDEX_OF<GnssPvt>, "latitude");
    EXPECT_EQ(1U, type.fields[latitude].count);
    EXPECT_EQ(30, type.fields[latitude].largest);
    uint64_t count = 0;
    for (FieldDifference const& field : type.fields)
        count += field.count;
    EXPECT_EQ(1U, count);
}

TEST_F(DiffTest, pairsIdenticalRecordsOfOneTimeFirst)
{
    write("a", generic(10, 1) + generic(10, 2) + generic(20, 3));
    write("b", generic(10, 2) + generic(20, 3));
    DiffResult const result = diff("a", "b");
    EXPECT_EQ(2U, result.types[GENERIC].identical);
    EXPECT_EQ(1U, result.types[GENERIC].onlyInA);
    EXPECT_EQ(0U, result.types[GENERIC].differing);
}

TEST_F(DiffTest, pairsRecordsThatAreALittleApartWithTheNearest)
{
    write("a", generic(10, 1) + generic(20, 5) + generic(30, 2));
    write("b", generic(10, 1) + generic(21, 5) + generic(30, 2));
    DiffResult const result = diff("a", "b");
    EXPECT_EQ(2U, result.types[GENERIC].identical);
    EXPECT_EQ(1U, result.types[GENERIC].differing);
    EXPECT_EQ(1U, result.types[GENERIC].fields[0].count); // ticks
}

TEST_F(DiffTest, takesTheShiftFromUtcWhenNoContentIsTheSame)
{
    GnssPvt pvt = {};
    pvt.fixType = 4;
    std::string a;
    std::string b;
    for (unsigned second = 0; second < 10; ++second) {
        pvt.utcTime = static_cast<int32_t>(1000000 + second);
        pvt.ticks = 5000 + 1000 * second;
        pvt.altitude = 1;
        a += frameOf(pvt);
        pvt.ticks += 123000;
        pvt.altitude = 2;
        b += frameOf(pvt);
    }
    write("a", a);
    write("b", b);
    DiffResult const result = diff("a", "b");
    EXPECT_EQ(123000, result.shift.ms);
    EXPECT_EQ(eShiftSource::Utc, result.shift.source);
    EXPECT_EQ(10U, result.types[INDEX_OF<GnssPvt>].differing);
}

TEST_F(DiffTest, doesNotReadAPipeTwice)
{
    DiffOptions options;
    options.a = "-";
    options.b = path("b");
    EXPECT_THROW(::diff(options, m_progress), FileError);
}

TEST_F(DiffTest, printsAllNamesAsJson)
{
    write("a", generic(10, 1) + generic(20, 1));
    write("b", generic(10, 1));
    DiffOptions options;
    options.a = path("a");
    options.b = path("b");
    Json const json = diffJson(options, ::diff(options, m_progress));
    EXPECT_EQ(false, json["same"]);
    EXPECT_EQ(1, json["types"]["GenericData"]["only_in_a"]);
    EXPECT_EQ(0, json["types"]["ImuData"]["identical"]);
    EXPECT_EQ("only_in_a", json["differences"][0]["kind"]);
    EXPECT_EQ(20, json["differences"][0]["first_ticks"]);
}

TEST(RecordFields, fillTheWholePayload)
{
    PerType<size_t> const sizes = {28, 96, 72, 24, 12};
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        auto const& last = recordFields(index).back();
        EXPECT_EQ(sizes[index], last.at + (last.kind == eFieldKind::Flag ? 1 : 4)) << index;
    }
    size_t const latitude = fieldOf(INDEX_OF<GnssData>, "pvt.latitude");
    EXPECT_EQ(offsetof(GnssData, pvt.latitude), recordFields(INDEX_OF<GnssData>)[latitude].at);
}
