#include "log_data_reader.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "binary_write_observer.h"
#include "captured_output.h"
#include "open_failure.h"
#include "record_log.h"
#include "signals.h"
#include "subscribe_all.h"
#include "temp_dir.h"

static char const* const END_OF_FILE = "End of file reached\n";
static char const* const FRAME_CUT_SHORT = "End of file reached\n"
                                           "could not read frame content, return false\n";

namespace
{

/// A reader of a file that holds the given bytes.
template <class Record>
class LogDataReaderTest : public testing::Test
{
protected:
    void open(Bytes const& bytes)
    {
        writeBytes(m_dir.file("log"), bytes);
        EXPECT_TRUE(m_reader->openFile(m_dir.file("log")));
    }

    /// Reads all, and expects exactly this output.
    void expectReading(std::string const& output)
    {
        EXPECT_EQ(output, capturedOutput([this] { EXPECT_TRUE(m_reader->readData()); }));
    }

    void expectPacket(bool published, std::string const& output)
    {
        EXPECT_EQ(output, capturedOutput([&] { EXPECT_EQ(published, m_reader->readPacket()); }));
    }

    void subscribe() { subscribe_all(m_log, m_reader); }

    TempDir m_dir;
    std::shared_ptr<LogDataReader> m_reader = std::make_shared<LogDataReader>();
    std::shared_ptr<RecordLog> m_log = std::make_shared<RecordLog>();
};

class SubscribedReader : public LogDataReaderTest<GenericData>
{
protected:
    void SetUp() override { subscribe(); }
};

/// A log that is a pipe: a read waits for more bytes where it has none, and never meets an end.
class PipeLog
{
public:
    PipeLog(std::string const& name, Bytes const& bytes)
    {
        EXPECT_EQ(0, mkfifo(name.c_str(), S_IRUSR | S_IWUSR));
        m_fd = ::open(name.c_str(), O_RDWR);
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(m_fd, bytes.data(), bytes.size()));
    }
    ~PipeLog() { close(m_fd); }
    PipeLog(PipeLog const&) = delete;
    PipeLog& operator=(PipeLog const&) = delete;

private:
    int m_fd;
};

/// Claims to have read so many packets.
class CountdownReader : public LogDataReader
{
public:
    explicit CountdownReader(int packets) : m_packets(packets) {}
    bool readPacket() override { return m_packets-- > 0; }

    int m_packets;
};

}

/// The first `size` bytes.
static Bytes headOf(Bytes const& bytes, size_t size)
{
    return {bytes.data(), bytes.data() + size};
}

/// The sample's frame, its last bytes replaced.
template <class Record>
static Bytes frameWithFooter(Bytes const& footer)
{
    Bytes frame = headOf(toBytes(Sample<Record>::FRAME), Sample<Record>::FRAME.size() - 4);
    frame.insert(frame.end(), footer.begin(), footer.end());
    return frame;
}

TYPED_TEST_SUITE(LogDataReaderTest, AllRecords);

TYPED_TEST(LogDataReaderTest, tellsOnlyTheObserversOfTheFramesType)
{
    auto const logs = logsOfOneTypeEach(*this->m_reader);

    this->open(toBytes(Sample<TypeParam>::FRAME));
    this->expectPacket(true, "");
    expectOnlyItsOwnLog<TypeParam>(logs);
}

TYPED_TEST(LogDataReaderTest, publishesNothingOfAFrameThatIsCutShort)
{
    this->subscribe();
    for (size_t size = 8; size < Sample<TypeParam>::FRAME.size(); ++size) {
        SCOPED_TRACE(size);
        this->open(headOf(toBytes(Sample<TypeParam>::FRAME), size));
        this->expectPacket(false, FRAME_CUT_SHORT);
    }
    EXPECT_TRUE(this->m_log->entries.empty());
}

TYPED_TEST(LogDataReaderTest, publishesNothingOfAFrameWithAWrongFooterAndReadsNothingAfterIt)
{
    this->subscribe();
    this->open(sampleFrames<ImuData>() + frameWithFooter<TypeParam>({0, 0, 0, 0}) +
               sampleFrames<GnssPvt>());
    this->expectReading("Illegal frame header footer 0"
                        "could not read frame content, return false\n");
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD)}), this->m_log->entries);
}

TYPED_TEST(LogDataReaderTest, goesByTheTypeAloneWhateverTheLength)
{
    this->subscribe();
    for (unsigned char const length : Bytes{0, 12, 255}) {
        SCOPED_TRACE(int{length});
        Bytes bytes = toBytes(Sample<TypeParam>::FRAME);
        bytes[2] = length;
        bytes[3] = length;
        this->m_log->entries.clear();
        this->open(bytes);
        this->expectPacket(true, "");
        EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<TypeParam>::RECORD)}), this->m_log->entries);
    }
}

TYPED_TEST(LogDataReaderTest, tellsAReadErrorInAFrameFromTheEndOfTheFile)
{
    size_t const size = Sample<TypeParam>::FRAME.size();
    struct
    {
        size_t size;
        char const* got;
    } const cases[] = {{8, "0"}, {13, "5"}, {size - 4, "0"}, {size - 1, "3"}};
    this->subscribe();
    for (auto const& c : cases) {
        SCOPED_TRACE(c.size);
        std::string const name = this->m_dir.file("pipe" + std::to_string(c.size));
        PipeLog const pipe(name, headOf(toBytes(Sample<TypeParam>::FRAME), c.size));
        this->m_reader->openFile(name);
        ScopedSignals const signals;
        ScopedSignals::handle(SIGALRM, [](int) {});
        ScopedSignals::alarmEvery(10); // the read waits for more bytes, and fails
        this->expectPacket(false, "File read failed res " + std::string(c.got) +
                                      ", errno 4\ncould not read frame content, return false\n");
    }
    EXPECT_TRUE(this->m_log->entries.empty());
}

TEST_F(SubscribedReader, publishesOneRecordPerPacketInTheOrderOfTheFile)
{
    open(sampleFrames<GnssPvt, ImuData, GenericData, GnssData, AttitudeData, ImuData>());
    std::vector<Bytes> const expected = {
        entryOf(Sample<GnssPvt>::RECORD),      entryOf(Sample<ImuData>::RECORD),
        entryOf(Sample<GenericData>::RECORD),  entryOf(Sample<GnssData>::RECORD),
        entryOf(Sample<AttitudeData>::RECORD), entryOf(Sample<ImuData>::RECORD)};

    for (size_t count = 1; count <= expected.size(); ++count) {
        SCOPED_TRACE(count);
        expectPacket(true, "");
        EXPECT_EQ((std::vector<Bytes>{expected.data(), expected.data() + count}), m_log->entries);
    }
    expectPacket(false, END_OF_FILE);
    expectPacket(false, END_OF_FILE);
    EXPECT_EQ(expected, m_log->entries);
}

TEST_F(SubscribedReader, publishesAWholeFileAtOnce)
{
    open(sampleFrames<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>());
    expectReading(END_OF_FILE);
    EXPECT_EQ(allSampleEntries(), m_log->entries);
    expectReading(END_OF_FILE);
    EXPECT_EQ(allSampleEntries(), m_log->entries);
}

TEST_F(SubscribedReader, readsWhatWasRecorded)
{
    {
        BinaryWriteObserver recording;
        recording.writer().openFile(m_dir.file("recording"));
        recording.update(Sample<ImuData>::RECORD);
        recording.update(Sample<GnssData>::RECORD);
        recording.update(Sample<GnssPvt>::RECORD);
        recording.update(Sample<AttitudeData>::RECORD);
        recording.update(Sample<GenericData>::RECORD);
    }
    m_reader->openFile(m_dir.file("recording"));
    expectReading(END_OF_FILE);
    EXPECT_EQ(allSampleEntries(), m_log->entries);
}

TEST_F(SubscribedReader, publishesNothingOfAnEmptyFile)
{
    open({});
    expectReading(END_OF_FILE);
    expectPacket(false, END_OF_FILE);
    EXPECT_TRUE(m_log->entries.empty());
}

TEST_F(SubscribedReader, takesAHeaderThatIsCutShortForTheEndOfTheFile)
{
    for (size_t size = 1; size < 8; ++size) {
        SCOPED_TRACE(size);
        open(headOf(sampleFrames<GenericData>(), size));
        expectPacket(false, END_OF_FILE);
    }
    EXPECT_TRUE(m_log->entries.empty());
}

TEST_F(SubscribedReader, endsSilentlyAtAFrameOfUnknownType)
{
    for (unsigned char const type : Bytes{0, 6, 255}) {
        SCOPED_TRACE(int{type});
        Bytes unknown = sampleFrames<GenericData>();
        unknown[0] = type;
        m_log->entries.clear();
        open(sampleFrames<ImuData, GnssPvt>() + unknown + sampleFrames<AttitudeData>());
        expectReading("");
        EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD),
                                      entryOf(Sample<GnssPvt>::RECORD)}),
                  m_log->entries);
    }
}

TEST_F(SubscribedReader, endsAtAFrameOfAnotherVersion)
{
    for (unsigned char const version : Bytes{0, 2, 255}) {
        Bytes other = sampleFrames<GenericData>();
        other[1] = version;
        m_log->entries.clear();
        open(sampleFrames<ImuData>() + other + sampleFrames<AttitudeData>());
        expectReading("Illegal frame header version " + std::to_string(int{version}));
        EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD)}), m_log->entries);
    }
}

TEST_F(SubscribedReader, reportsAReadErrorInAHeaderOnce)
{
    m_reader->openFile("/proc/self/mem"); // nothing is mapped at address 0: EIO
    expectPacket(false, "File read failed res 0, errno 5\n");
    expectReading("File read failed res 0, errno 5\n");
}

TEST_F(SubscribedReader, takesAnyByteForAFlag)
{
    Bytes frame = sampleFrames<AttitudeData>();
    Bytes expected = entryOf(Sample<AttitudeData>::RECORD);
    Bytes const flags[] = {{0x02, 0x80, 0xFF, 0x00}, {0x01, 0x01, 0x01, 0x00}};
    std::copy(flags[0].begin(), flags[0].end(), frame.end() - 8);
    std::copy(flags[1].begin(), flags[1].end(), expected.end() - 4);

    open(frame);
    expectPacket(true, "");
    EXPECT_EQ(std::vector<Bytes>{expected}, m_log->entries);
}

TEST_F(SubscribedReader, throwsWhenTheFileCannotBeOpened)
{
    std::string const missing = m_dir.file("missing");
    expectOpenFailure([&] { m_reader->openFile(missing); }, missing, ENOENT,
                      "No such file or directory");
}

TEST(LogDataReader, readsPacketsUntilOneFails)
{
    CountdownReader reader(3);
    IDataReader& source = reader;
    EXPECT_TRUE(source.readData());
    EXPECT_EQ(-1, reader.m_packets);
}
