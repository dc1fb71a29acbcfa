#include "device_sim/expected_log.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "log_frames/file_error.h"
#include "record_list.h"
#include "sample_records.h"
#include "temp_dir.h"

namespace
{

class ExpectedLog : public testing::Test
{
protected:
    RecordSequence read(Bytes const& log) const
    {
        writeBytes(m_dir.file("log"), log);
        return readExpectedLog(m_dir.file("log"));
    }

    std::string refusalOf(Bytes const& log) const
    {
        try {
            read(log);
        } catch (std::runtime_error const& error) {
            std::string const text = error.what();
            return text.substr(m_dir.file("log").size());
        }
        return "none";
    }

    TempDir m_dir;
};

}

template <class Record>
static void expectSample(RecordSequence const& sequence, size_t at)
{
    auto const& packet = Sample<Record>::PACKET;
    EXPECT_EQ(INDEX_OF<Record>, sequence.indices[at]);
    EXPECT_EQ(fingerprint(packet.data(), packet.size()), sequence.fingerprints[at]);
}

TEST_F(ExpectedLog, isTheDatagramsOfItsRecords)
{
    RecordSequence const sequence =
        read(sampleFrames<GnssData, ImuData, GenericData, AttitudeData, GnssPvt>());
    ASSERT_EQ(5U, sequence.size());
    expectSample<GnssData>(sequence, 0);
    expectSample<ImuData>(sequence, 1);
    expectSample<GenericData>(sequence, 2);
    expectSample<AttitudeData>(sequence, 3);
    expectSample<GnssPvt>(sequence, 4);
}

TEST_F(ExpectedLog, hasFlagsThatAreValidOnTheWire)
{
    Bytes log = sampleFrames<AttitudeData>();
    log[8 + 20] = 0x80; // a flag that is set
    expectSample<AttitudeData>(read(log), 0);
}

TEST_F(ExpectedLog, endsAtTheFirstDamage)
{
    testing::internal::CaptureStderr();
    RecordSequence const sequence =
        read(sampleFrames<ImuData>() + Bytes{0} + sampleFrames<ImuData>());
    EXPECT_EQ("device_sim: " + m_dir.file("log") + " is damaged behind record 1\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(1U, sequence.size());
}

TEST_F(ExpectedLog, isRefusedWithoutARecord)
{
    EXPECT_EQ(" is empty: there is nothing to expect", refusalOf({}));
    EXPECT_EQ(" is no log: it does not begin with a record", refusalOf(Bytes(50, 'x')));
    Bytes cut = sampleFrames<ImuData>();
    cut.pop_back();
    EXPECT_EQ(" is no log: it does not begin with a record", refusalOf(cut));
}

TEST_F(ExpectedLog, isRefusedWhenItCannotBeRead)
{
    EXPECT_THROW(readExpectedLog(m_dir.file("none")), FileError);
}

TEST(Fingerprint, tellsDatagramsThatDifferInAByte)
{
    auto packet = Sample<ImuData>::PACKET;
    uint64_t const whole = fingerprint(packet.data(), packet.size());
    EXPECT_NE(whole, fingerprint(packet.data(), packet.size() - 1));
    for (unsigned char& byte : packet) {
        byte ^= 1;
        EXPECT_NE(whole, fingerprint(packet.data(), packet.size()));
        byte ^= 1;
    }
}
