#include "binary_log_reader.h"

#include <cerrno>
#include <functional>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "open_failure.h"
#include "sample_records.h"
#include "temp_dir.h"

namespace
{

/// A reader of a file that holds the given bytes.
class BytesReader : public BinaryLogReader
{
public:
    explicit BytesReader(Bytes const& bytes)
    {
        writeBytes(m_dir.file("log"), bytes);
        EXPECT_TRUE(openFile(m_dir.file("log")));
    }

private:
    TempDir m_dir;
};

template <class Record>
class BinaryLogReaderTest : public testing::Test
{};

}

/// Expects that `action` prints exactly this and gives false.
static void expectFailure(std::string const& output, std::function<bool()> const& action)
{
    EXPECT_EQ(output, capturedOutput([&action] { EXPECT_FALSE(action()); }));
}

template <class Record>
static void expectSampleFrame(BinaryLogReader& reader)
{
    FrameHeader header = {};
    EXPECT_TRUE(reader.readHeader(header));
    EXPECT_EQ(bytesOf(FRAME_HEADER<Record>), bytesOf(header));
    Record record = {};
    EXPECT_TRUE(reader.readPayload(&record, sizeof record));
    EXPECT_EQ(bytesOf(Sample<Record>::RECORD), bytesOf(record));
    EXPECT_TRUE(reader.readAndCheckFooter());
}

TYPED_TEST_SUITE(BinaryLogReaderTest, AllRecords);

TYPED_TEST(BinaryLogReaderTest, readsAFrame)
{
    BytesReader reader(toBytes(Sample<TypeParam>::FRAME));
    EXPECT_EQ("", capturedOutput([&] { expectSampleFrame<TypeParam>(reader); }));
}

TEST(BinaryLogReader, readsFrameAfterFrameToTheEndOfTheFile)
{
    BytesReader reader(sampleFrames<GnssPvt, ImuData, GenericData, GnssData, AttitudeData>());
    expectSampleFrame<GnssPvt>(reader);
    expectSampleFrame<ImuData>(reader);
    expectSampleFrame<GenericData>(reader);
    expectSampleFrame<GnssData>(reader);
    expectSampleFrame<AttitudeData>(reader);

    FrameHeader header = {};
    expectFailure("End of file reached\n", [&] { return reader.readHeader(header); });
    expectFailure("End of file reached\n", [&] { return reader.readHeader(header); });
}

TEST(BinaryLogReader, findsTheEndOfTheFileInAHeader)
{
    Bytes const header = {5, 1, 20, 0, 0, 0, 0, 0};
    for (int size = 0; size < 8; ++size) {
        SCOPED_TRACE(size);
        BytesReader reader(Bytes(header.begin(), header.begin() + size));
        FrameHeader read = {};
        expectFailure("End of file reached\n", [&] { return reader.readHeader(read); });
    }
}

TEST(BinaryLogReader, findsTheEndOfTheFileInAPayload)
{
    for (size_t const size : {0U, 11U}) {
        SCOPED_TRACE(size);
        BytesReader reader(Bytes(8 + size, 1));
        FrameHeader header = {};
        EXPECT_TRUE(reader.readHeader(header));
        GenericData record = {};
        expectFailure("End of file reached\n",
                      [&] { return reader.readPayload(&record, sizeof record); });
    }
}

TEST(BinaryLogReader, findsTheEndOfTheFileInAFooter)
{
    Bytes const footer = {0xD0, 0xC0, 0xB0, 0xA0};
    for (int size = 0; size < 4; ++size) {
        SCOPED_TRACE(size);
        BytesReader reader(Bytes(footer.begin(), footer.begin() + size));
        expectFailure("End of file reached\n", [&] { return reader.readAndCheckFooter(); });
    }
}

TEST(BinaryLogReader, doesNotTakeTheFooterBeforeForOneThatIsCutShort)
{
    BytesReader reader({0xD0, 0xC0, 0xB0, 0xA0, 0xD0, 0xC0, 0xB0});
    EXPECT_TRUE(reader.readAndCheckFooter());
    expectFailure("End of file reached\n", [&] { return reader.readAndCheckFooter(); });
}

TEST(BinaryLogReader, refusesAHeaderOfAnotherVersion)
{
    for (int const version : {0, 2, 255}) {
        BytesReader reader({5, static_cast<unsigned char>(version), 20, 0, 0, 0, 0, 0});
        FrameHeader header = {};
        expectFailure("Illegal frame header version " + std::to_string(version),
                      [&] { return reader.readHeader(header); });
    }
}

TEST(BinaryLogReader, goesByTheVersionAloneInAHeader)
{
    Bytes const headers[] = {
        {5, 1, 0, 0, 0, 0, 0, 0},
        {5, 1, 0xFF, 0xFF, 0, 0, 0, 0},
        {5, 1, 20, 0, 0x21, 0x22, 0x23, 0x24},
        {0, 1, 20, 0, 0, 0, 0, 0},
        {255, 1, 20, 0, 0, 0, 0, 0},
    };
    for (Bytes const& bytes : headers) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        BytesReader reader(bytes);
        FrameHeader header = {};
        EXPECT_EQ("", capturedOutput([&] { EXPECT_TRUE(reader.readHeader(header)); }));
        EXPECT_EQ(bytes, bytesOf(header));
    }
}

TEST(BinaryLogReader, readsAFrameWhateverItsLength)
{
    for (unsigned char const length : Bytes{0, 19, 21, 255}) {
        SCOPED_TRACE(int{length});
        Bytes bytes = sampleFrames<GenericData, ImuData>();
        bytes[2] = length;
        bytes[3] = length;
        BytesReader reader(bytes);
        FrameHeader header = {};
        EXPECT_TRUE(reader.readHeader(header));
        GenericData record = {};
        EXPECT_TRUE(reader.readPayload(&record, sizeof record));
        EXPECT_TRUE(reader.readAndCheckFooter());
        expectSampleFrame<ImuData>(reader);
    }
}

TEST(BinaryLogReader, refusesAWrongFooter)
{
    struct
    {
        Bytes bytes;
        char const* output;
    } const cases[] = {
        {{0x00, 0x00, 0x00, 0x00}, "Illegal frame header footer 0"},
        {{0xA0, 0xB0, 0xC0, 0xD0}, "Illegal frame header footer -792678240"},
        {{0x01, 0x02, 0x03, 0x04}, "Illegal frame header footer 67305985"},
        {{0xD1, 0xC0, 0xB0, 0xA0}, "Illegal frame header footer -1599029039"},
        {{0xD0, 0xC0, 0xB0, 0xA1}, "Illegal frame header footer -1582251824"},
        {{0xFF, 0xFF, 0xFF, 0xFF}, "Illegal frame header footer -1"},
        {{0x00, 0x00, 0x00, 0x80}, "Illegal frame header footer -2147483648"},
    };
    for (auto const& c : cases) {
        BytesReader reader(c.bytes);
        expectFailure(c.output, [&] { return reader.readAndCheckFooter(); });
    }
}

TEST(BinaryLogReader, tellsAReadErrorFromTheEndOfTheFile)
{
    BinaryLogReader reader;
    reader.openFile("/proc/self/mem"); // nothing is mapped at address 0: EIO

    FrameHeader header = {};
    expectFailure("File read failed res 0, errno 5\n", [&] { return reader.readHeader(header); });
    GenericData record = {};
    expectFailure("File read failed res 0, errno 5\n",
                  [&] { return reader.readPayload(&record, sizeof record); });
    expectFailure("File read failed res 0, errno 5\n", [&] { return reader.readAndCheckFooter(); });
}

TEST(BinaryLogReader, startsAgainWithAnotherFile)
{
    TempDir const dir;
    writeBytes(dir.file("first"), sampleFrames<ImuData, ImuData>());
    writeBytes(dir.file("second"), sampleFrames<GnssPvt>());
    BinaryLogReader reader;

    reader.openFile(dir.file("first"));
    expectSampleFrame<ImuData>(reader);
    EXPECT_TRUE(reader.openFile(dir.file("second")));
    expectSampleFrame<GnssPvt>(reader);
}

TEST(BinaryLogReader, keepsTheFormerFileWhenItCannotOpenAnother)
{
    TempDir const dir;
    writeBytes(dir.file("log"), sampleFrames<ImuData, GnssPvt>());
    std::string const missing = dir.file("missing");
    BinaryLogReader reader;

    reader.openFile(dir.file("log"));
    expectSampleFrame<ImuData>(reader);
    expectOpenFailure([&] { reader.openFile(missing); }, missing, ENOENT,
                      "No such file or directory");
    expectSampleFrame<GnssPvt>(reader);
}

TEST(BinaryLogReader, leavesTheFileAsItIs)
{
    TempDir const dir;
    writeBytes(dir.file("log"), sampleFrames<ImuData>());
    {
        BinaryLogReader reader;
        reader.openFile(dir.file("log"));
        expectSampleFrame<ImuData>(reader);
    }
    EXPECT_EQ(sampleFrames<ImuData>(), readBytes(dir.file("log")));
}
