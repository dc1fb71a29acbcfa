#include "binary_write_observer.h"

#include <algorithm>
#include <csignal>
#include <memory>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "captured_output.h"
#include "child_process.h"
#include "sample_records.h"
#include "subscribe_all.h"
#include "t_multi_observable.h"
#include "temp_dir.h"

static constexpr size_t STREAM_BUFFER_SIZE = 4096;

/// What a log file holds after `record` is all that came.
template <class Record>
static Bytes fileAfter(Record const& record)
{
    TempDir const dir;
    {
        BinaryWriteObserver observer;
        observer.writer().openFile(dir.file("log"));
        observer.update(record);
    }
    return readBytes(dir.file("log"));
}

namespace
{

template <class Record>
class BinaryWriteObserverTest : public testing::Test
{};

}

TYPED_TEST_SUITE(BinaryWriteObserverTest, AllRecords);

TYPED_TEST(BinaryWriteObserverTest, writesARecordAsAFrame)
{
    EXPECT_EQ(toBytes(Sample<TypeParam>::FRAME), fileAfter(Sample<TypeParam>::RECORD));
}

// The header still fits, the payload does not, and the footer is not tried. The frame that the
// device refuses is the one that fills the stream's buffer.
TYPED_TEST(BinaryWriteObserverTest, reportsAFullDiskOncePerRecordAndGoesOn)
{
    size_t const payloadRoom = STREAM_BUFFER_SIZE % Sample<TypeParam>::FRAME.size() - 8;
    std::string const message =
        "File write failed res " + std::to_string(payloadRoom) + ", errno 28\n";
    size_t const framesPerBuffer = STREAM_BUFFER_SIZE / Sample<TypeParam>::FRAME.size() + 1;

    EXPECT_EQ(message + message + message, capturedOutput([framesPerBuffer] {
                  BinaryWriteObserver observer;
                  observer.writer().openFile("/dev/full");
                  for (size_t i = 0; i < 3 * framesPerBuffer; ++i)
                      observer.update(Sample<TypeParam>::RECORD);
              }));
}

TEST(BinaryWriteObserver, writesTheFramesInTheOrderOfNotification)
{
    TempDir const dir;
    {
        BinaryWriteObserver observer;
        observer.writer().openFile(dir.file("log"));
        observer.update(Sample<GenericData>::RECORD);
        observer.update(Sample<GnssPvt>::RECORD);
        observer.update(Sample<ImuData>::RECORD);
        observer.update(Sample<AttitudeData>::RECORD);
        observer.update(Sample<GnssData>::RECORD);
        observer.update(Sample<GenericData>::RECORD);
    }
    EXPECT_EQ((sampleFrames<GenericData, GnssPvt, ImuData, AttitudeData, GnssData, GenericData>()),
              readBytes(dir.file("log")));
}

TEST(BinaryWriteObserver, writes292BytesForOneRecordOfEachType)
{
    TempDir const dir;
    auto const observable =
        std::make_shared<TMultiObservable<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>>();
    auto observer = std::make_shared<BinaryWriteObserver>();
    observer->writer().openFile(dir.file("log"));
    subscribe_all(observer, observable);

    observable->notifySubscribers(Sample<ImuData>::RECORD);
    observable->notifySubscribers(Sample<GnssData>::RECORD);
    observable->notifySubscribers(Sample<GnssPvt>::RECORD);
    observable->notifySubscribers(Sample<AttitudeData>::RECORD);
    observable->notifySubscribers(Sample<GenericData>::RECORD);
    observer.reset();

    Bytes const bytes = readBytes(dir.file("log"));
    EXPECT_EQ(292U, bytes.size());
    EXPECT_EQ((sampleFrames<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>()), bytes);
}

TEST(BinaryWriteObserver, beginsAnImuPayloadWithTicksAndFirstValue)
{
    Bytes const bytes = fileAfter(ImuData{0x01020304, {1.0F}});
    Bytes const expected = {0x01, 0x01, 0x24, 0x00, 0x00, 0x00, 0x00, 0x00, // header
                            0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x80, 0x3F};
    EXPECT_EQ(expected, Bytes(bytes.begin(), bytes.begin() + 16));
}

TEST(BinaryWriteObserver, writesSectionsThatAreAbsentAsTheyAre)
{
    struct
    {
        char const* name;
        bool pvt;
        bool dop;
    } const cases[] = {{"no PVT section", false, true},
                       {"no DOP section", true, false},
                       {"neither", false, false}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        GnssData record = Sample<GnssData>::RECORD;
        Bytes expected = toBytes(Sample<GnssData>::FRAME);
        if (!c.pvt) {
            record.pvt.ticks = 0;
            std::fill_n(expected.begin() + 16, 4, static_cast<unsigned char>(0));
        }
        if (!c.dop) {
            record.dop.ticks = 0;
            std::fill_n(expected.begin() + 88, 4, static_cast<unsigned char>(0));
        }
        EXPECT_EQ(expected, fileAfter(record));
    }
}

TEST(BinaryWriteObserver, writesAnUnknownSourceUnchanged)
{
    GnssData record = Sample<GnssData>::RECORD;
    record.source = static_cast<eGnssSource>(7);
    Bytes const bytes = fileAfter(record);
    EXPECT_EQ((Bytes{7, 0, 0, 0}), Bytes(bytes.begin() + 8, bytes.begin() + 12));
}

TEST(BinaryWriteObserver, writesFloatsBitForBit)
{
    for (auto const& c : SPECIAL_FLOATS) {
        SCOPED_TRACE(c.name);
        Bytes const expected(c.net.rbegin(), c.net.rend());

        Bytes const imu = fileAfter(ImuData{1, {0, 0, 0, 0, 0, floatOf(c.bits)}});
        EXPECT_EQ(expected, Bytes(imu.begin() + 32, imu.begin() + 36));

        Bytes const attitude = fileAfter(AttitudeData{1, {0, 0, 0, floatOf(c.bits)}, {}});
        EXPECT_EQ(expected, Bytes(attitude.begin() + 24, attitude.begin() + 28));
    }
}

// EFBIG stands for ENOSPC: a limit on the size of files can be set, and lifted.
TEST(BinaryWriteObserver, leavesAFrameWithoutFooterOnAFullDiskAndGoesOnWhenThereIsRoomAgain)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    static constexpr size_t ROOM = 50; // an ImuData frame and 10 bytes
    static constexpr int FRAMES_PER_BUFFER = 103;

    ChildResult const result = runInChild([&name] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {ROOM, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        {
            BinaryWriteObserver observer;
            observer.writer().openFile(name);
            for (int i = 0; i < FRAMES_PER_BUFFER; ++i)
                observer.update(Sample<ImuData>::RECORD);
            limit.rlim_cur = RLIM_INFINITY;
            setrlimit(RLIMIT_FSIZE, &limit);
            observer.update(Sample<GenericData>::RECORD);
        }
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("File write failed res 8, errno 27\n", result.output);

    Bytes expected = sampleFrames<ImuData, ImuData>();
    expected.resize(ROOM);
    Bytes const generic = toBytes(Sample<GenericData>::FRAME);
    expected.insert(expected.end(), generic.begin(), generic.end());
    EXPECT_EQ(expected, readBytes(name));
}
