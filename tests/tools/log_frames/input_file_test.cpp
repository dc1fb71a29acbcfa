#include "log_frames/input_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log_frames/file_error.h"
#include "temp_dir.h"

static std::string readAll(InputFile& file)
{
    std::string content;
    unsigned char part[3];
    while (size_t const count = file.read(part, sizeof part))
        content.append(reinterpret_cast<char*>(part), count);
    return content;
}

TEST(InputFile, readsAFileFromStartToEnd)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {'s', 'o', 'm', 'e', ' ', 'b', 'y', 't', 'e', 's'});
    InputFile file(dir.file("log"));
    EXPECT_EQ(10U, file.size());
    EXPECT_EQ("some bytes", readAll(file));
}

TEST(InputFile, throwsWhenThereIsNoFile)
{
    try {
        InputFile const file("/no/such/file");
        FAIL() << "opened";
    } catch (FileError const& error) {
        EXPECT_STREQ("cannot read /no/such/file: No such file or directory", error.what());
    }
}

TEST(InputFile, throwsForAFolder)
{
    TempDir const dir;
    InputFile file(dir.file(""));
    EXPECT_THROW(readAll(file), FileError);
}

TEST(InputFile, throwsWhenTheFileBecomesShorter)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    writeBytes(name, std::vector<unsigned char>(10, 'x'));
    InputFile file(name);
    ASSERT_EQ(0, truncate(name.c_str(), 4));
    try {
        readAll(file);
        FAIL() << "read";
    } catch (FileError const& error) {
        EXPECT_EQ(name + " has become shorter while it was read", error.what());
    }
}

TEST(InputFile, readsWhatAGrowingFileHasByThen)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {'a'});
    InputFile file(dir.file("log"));
    writeBytes(dir.file("log"), {'a', 'b'});
    EXPECT_EQ("ab", readAll(file));
}

TEST(InputFile, readsALargeFileToItsEnd)
{
    TempDir const dir;
    std::vector<unsigned char> content(5000001);
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<unsigned char>(i * 7 + i / 1000);
    writeBytes(dir.file("log"), content);
    InputFile file(dir.file("log"));
    std::vector<unsigned char> read;
    unsigned char part[7777];
    while (size_t const count = file.read(part, sizeof part))
        read.insert(read.end(), part, part + count);
    EXPECT_TRUE(content == read);
    EXPECT_EQ(0U, file.read(part, sizeof part));
}

TEST(InputFile, throwsWhenALargeFileBecomesShorter)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    writeBytes(name, std::vector<unsigned char>(8000000, 'x'));
    InputFile file(name);
    ASSERT_EQ(0, truncate(name.c_str(), 4000000));
    EXPECT_THROW(readAll(file), FileError);
}

TEST(InputFile, mayBeLeftUnread)
{
    TempDir const dir;
    writeBytes(dir.file("log"), std::vector<unsigned char>(8000000, 'x'));
    InputFile file(dir.file("log"));
    unsigned char part[10];
    EXPECT_EQ(sizeof part, file.read(part, sizeof part));
}

TEST(InputFile, readsAPipeOfUnknownSize)
{
    TempDir const dir;
    std::string const name = dir.file("pipe");
    ASSERT_EQ(0, mkfifo(name.c_str(), 0600));
    int const both = open(name.c_str(), O_RDWR); // so that neither side waits for the other
    InputFile file(name);
    ASSERT_EQ(4, write(both, "hej\n", 4));
    close(both);
    EXPECT_EQ(std::nullopt, file.size());
    EXPECT_EQ("hej\n", readAll(file));
}

TEST(InputFile, knowsItselfByAnyPath)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {'a'});
    writeBytes(dir.file("other"), {'a'});
    ASSERT_EQ(0, symlink(dir.file("log").c_str(), dir.file("link").c_str()));
    InputFile const file(dir.file("log"));
    EXPECT_TRUE(file.isSameFile(dir.file("link")));
    EXPECT_FALSE(file.isSameFile(dir.file("other")));
    EXPECT_FALSE(file.isSameFile(dir.file("none")));
}
