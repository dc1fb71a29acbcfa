#include "binary_log_writer.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "open_failure.h"
#include "sample_records.h"
#include "temp_dir.h"

namespace
{

template <class Record>
class BinaryLogWriterTest : public testing::Test
{};

}

TYPED_TEST_SUITE(BinaryLogWriterTest, AllRecords);

TYPED_TEST(BinaryLogWriterTest, writesAFrame)
{
    TempDir const dir;
    TypeParam const record = Sample<TypeParam>::RECORD;
    {
        BinaryLogWriter writer;
        EXPECT_TRUE(writer.openFile(dir.file("log")));
        EXPECT_TRUE(writer.writeHeader(FRAME_HEADER<TypeParam>));
        EXPECT_TRUE(writer.writePayload(&record, sizeof record));
        EXPECT_TRUE(writer.writeFooter());
    }
    EXPECT_EQ(toBytes(Sample<TypeParam>::FRAME), readBytes(dir.file("log")));
}

TEST(BinaryLogWriter, writesAnyHeaderOfVersionOneAsItIs)
{
    TempDir const dir;
    {
        BinaryLogWriter writer;
        writer.openFile(dir.file("log"));
        EXPECT_TRUE(writer.writeHeader({0xFE, 0x01, 0x1213, 0x21222324}));
    }
    EXPECT_EQ((Bytes{0xFE, 0x01, 0x13, 0x12, 0x24, 0x23, 0x22, 0x21}), readBytes(dir.file("log")));
}

TEST(BinaryLogWriter, refusesAHeaderOfAnotherVersionAndWritesNothing)
{
    TempDir const dir;
    {
        BinaryLogWriter writer;
        writer.openFile(dir.file("log"));
        for (int const version : {0, 2, 255}) {
            FrameHeader header = FRAME_HEADER<GenericData>;
            header.version = static_cast<uint8_t>(version);
            EXPECT_EQ("Illegal frame header version " + std::to_string(version),
                      capturedOutput([&] { EXPECT_FALSE(writer.writeHeader(header)); }));
        }
        EXPECT_TRUE(writer.writeFooter());
    }
    EXPECT_EQ((Bytes{0xD0, 0xC0, 0xB0, 0xA0}), readBytes(dir.file("log")));
}

TEST(BinaryLogWriter, emptiesAnExistingFile)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {1, 2, 3});
    BinaryLogWriter writer;

    EXPECT_TRUE(writer.openFile(dir.file("log")));
    EXPECT_EQ(Bytes(), readBytes(dir.file("log")));
}

TEST(BinaryLogWriter, closesTheFormerFileWhenItOpensAnother)
{
    TempDir const dir;
    {
        BinaryLogWriter writer;
        writer.openFile(dir.file("first"));
        writer.writeFooter();
        EXPECT_TRUE(writer.openFile(dir.file("second")));
        EXPECT_EQ((Bytes{0xD0, 0xC0, 0xB0, 0xA0}), readBytes(dir.file("first")));
        writer.writeHeader(FRAME_HEADER<GenericData>);
    }
    EXPECT_EQ((Bytes{0xD0, 0xC0, 0xB0, 0xA0}), readBytes(dir.file("first")));
    EXPECT_EQ((Bytes{5, 1, 20, 0, 0, 0, 0, 0}), readBytes(dir.file("second")));
}

TEST(BinaryLogWriter, keepsTheFormerFileWhenItCannotOpenAnother)
{
    TempDir const dir;
    {
        BinaryLogWriter writer;
        writer.openFile(dir.file("log"));
        writer.writeHeader(FRAME_HEADER<GenericData>);
        std::string const missing = dir.file("missing/log");
        expectOpenFailure([&] { writer.openFile(missing); }, missing, ENOENT,
                          "No such file or directory");
        EXPECT_TRUE(writer.writeFooter());
    }
    EXPECT_EQ((Bytes{5, 1, 20, 0, 0, 0, 0, 0, 0xD0, 0xC0, 0xB0, 0xA0}), readBytes(dir.file("log")));
}

// The stream meets the full device when its buffer of 4096 bytes is. The count in the message is
// then what still went into the buffer.
class FullDevice : public testing::Test
{
protected:
    void SetUp() override { m_writer.openFile("/dev/full"); }

    /// Fills the buffer except for `offset` bytes and a multiple of the sizes below.
    void writeFirst(size_t offset)
    {
        static unsigned char const BYTES[8] = {};
        EXPECT_TRUE(m_writer.writePayload(BYTES, offset));
    }

    BinaryLogWriter m_writer;
};

TEST_F(FullDevice, makesAHeaderFail)
{
    writeFirst(5); // 5 + 511 * 8 + 3 = 4096
    EXPECT_EQ("File write failed res 3, errno 28\n", capturedOutput([this] {
                  while (m_writer.writeHeader(FRAME_HEADER<GenericData>)) {
                  }
              }));
}

TEST_F(FullDevice, makesAPayloadFail)
{
    GenericData const record = Sample<GenericData>::RECORD; // 341 * 12 + 4 = 4096
    EXPECT_EQ("File write failed res 4, errno 28\n", capturedOutput([&] {
                  while (m_writer.writePayload(&record, sizeof record)) {
                  }
              }));
}

TEST_F(FullDevice, makesAFooterFail)
{
    writeFirst(2); // 2 + 1023 * 4 + 2 = 4096
    EXPECT_EQ("File write failed res 2, errno 28\n", capturedOutput([this] {
                  while (m_writer.writeFooter()) {
                  }
              }));
}

TEST_F(FullDevice, isTriedAgainAfterAFailure)
{
    EXPECT_EQ("File write failed res 0, errno 28\nFile write failed res 0, errno 28\n",
              capturedOutput([this] {
                  for (int failures = 0; failures < 2;) {
                      if (!m_writer.writeHeader(FRAME_HEADER<GenericData>))
                          ++failures;
                  }
              }));
}
