#include "log_file.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <type_traits>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "captured_output.h"
#include "open_failure.h"
#include "sample_records.h"
#include "temp_dir.h"

TEST(LogFile, numbersItsDirections)
{
    EXPECT_EQ(0, LogFile::Read);
    EXPECT_EQ(1, LogFile::Write);
    EXPECT_FALSE(std::is_copy_constructible_v<LogFile>);
}

TEST(LogFile, createsAFileForWriting)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    {
        LogFile const file(name, LogFile::Write);
        EXPECT_EQ(3U, fwrite("\1\2\3", 1, 3, file.stream()));
    }
    EXPECT_EQ((Bytes{1, 2, 3}), readBytes(name));
}

TEST(LogFile, emptiesAnExistingFileForWriting)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    writeBytes(name, {1, 2, 3});
    {
        LogFile const file(name, LogFile::Write);
        EXPECT_EQ(Bytes(), readBytes(name));
    }
    EXPECT_EQ(Bytes(), readBytes(name));
}

TEST(LogFile, readsAnExistingFileFromItsBeginning)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    writeBytes(name, {1, 2, 3});
    {
        LogFile const file(name, LogFile::Read);
        EXPECT_EQ(1, fgetc(file.stream()));
        EXPECT_EQ(2, fgetc(file.stream()));
        EXPECT_EQ(3, fgetc(file.stream()));
        EXPECT_EQ(EOF, fgetc(file.stream()));
    }
    EXPECT_EQ((Bytes{1, 2, 3}), readBytes(name));
}

TEST(LogFile, growsPast2GiBAndIsReadThere)
{
    static constexpr off64_t START = 0x7FFFFFFE;
    TempDir const dir;
    std::string const name = dir.file("log");
    {
        LogFile const file(name, LogFile::Write);
        ASSERT_EQ(0, fseeko64(file.stream(), START, SEEK_SET));
        EXPECT_EQ(4U, fwrite("\1\2\3\4", 1, 4, file.stream()));
    }
    EXPECT_EQ(0x80000002U, std::filesystem::file_size(name));

    LogFile const file(name, LogFile::Read);
    ASSERT_EQ(0, fseeko64(file.stream(), START, SEEK_SET));
    Bytes bytes(5);
    EXPECT_EQ(4U, fread(bytes.data(), 1, bytes.size(), file.stream()));
    EXPECT_EQ((Bytes{1, 2, 3, 4, 0}), bytes);
    EXPECT_TRUE(feof(file.stream()));
}

TEST(LogFile, opensForReadingAndWritingInBothDirections)
{
    TempDir const dir;
    for (auto const direction : {LogFile::Write, LogFile::Read}) {
        SCOPED_TRACE(direction);
        LogFile const file(dir.file("log"), direction);
        EXPECT_EQ(O_RDWR, fcntl(fileno(file.stream()), F_GETFL) & O_ACCMODE);
    }
}

TEST(LogFile, refusesAMissingFileForReading)
{
    TempDir const dir;
    std::string const name = dir.file("missing");
    expectOpenFailure([&] { LogFile(name, LogFile::Read); }, name, ENOENT,
                      "No such file or directory");
}

TEST(LogFile, refusesAMissingFolderForWriting)
{
    TempDir const dir;
    std::string const name = dir.file("missing/log");
    expectOpenFailure([&] { LogFile(name, LogFile::Write); }, name, ENOENT,
                      "No such file or directory");
}

TEST(LogFile, refusesAFolderInBothDirections)
{
    TempDir const dir;
    std::string const name = dir.file(".");
    for (auto const direction : {LogFile::Write, LogFile::Read}) {
        SCOPED_TRACE(direction);
        expectOpenFailure([&] { LogFile(name, direction); }, name, EISDIR, "Is a directory");
    }
}

TEST(LogFile, closesItsDescriptor)
{
    TempDir const dir;
    auto file = std::make_unique<LogFile>(dir.file("log"), LogFile::Write);
    int const fd = fileno(file->stream());

    file.reset();
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));
    EXPECT_EQ(EBADF, errno);
}

TEST(LogFile, reportsWhatCannotBeWrittenWhenItCloses)
{
    EXPECT_EQ("File close failed errno 28\n", capturedOutput([] {
                  LogFile const file("/dev/full", LogFile::Write);
                  EXPECT_EQ(3U, fwrite("\1\2\3", 1, 3, file.stream()));
              }));
}
