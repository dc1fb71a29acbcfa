#include "log_frames/output_file.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "log_frames/file_error.h"
#include "log_frames/unfinished_files.h"
#include "temp_dir.h"

static std::vector<unsigned char> const OLD = {'o', 'l', 'd'};
static std::vector<unsigned char> const NEW = {'n', 'e', 'w'};

static std::vector<std::string> namesIn(TempDir const& dir)
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(dir.file("")))
        names.push_back(entry.path().filename().string());
    return names;
}

static std::string messageOf(std::string const& name, eExisting existing)
{
    try {
        OutputFile file(name, existing);
        file.write(NEW.data(), NEW.size());
        file.publish();
    } catch (FileError const& error) {
        return error.what();
    }
    return "";
}

TEST(OutputFile, appearsWithItsContentWhenItIsPublished)
{
    TempDir const dir;
    // More than a block, so that it is written and read back in parts.
    std::vector<unsigned char> content(1000001);
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<unsigned char>(i * 7 / 5);
    {
        OutputFile file(dir.file("out"), eExisting::Refuse);
        file.write(content.data(), 3);
        file.write(content.data() + 3, content.size() - 3);
        EXPECT_FALSE(std::filesystem::exists(dir.file("out")));
        EXPECT_EQ(content.size(), file.size());
        file.publish();
    }
    EXPECT_EQ(content, readBytes(dir.file("out")));
    EXPECT_EQ(std::vector<std::string>{"out"}, namesIn(dir));
}

TEST(OutputFile, keepsTheOrderOfPiecesOfAnySize)
{
    TempDir const dir;
    std::vector<unsigned char> content;
    OutputFile file(dir.file("out"), eExisting::Refuse);
    for (size_t const size : std::initializer_list<size_t>{10, 70000, 100000, 1, 131072, 65536,
                                                           65536, 3, 200000, 60000, 90000}) {
        std::vector<unsigned char> const piece(size, static_cast<unsigned char>(size % 251));
        file.write(piece.data(), piece.size());
        content.insert(content.end(), piece.begin(), piece.end());
    }
    file.publish();
    EXPECT_TRUE(content == readBytes(dir.file("out")));
}

TEST(OutputFile, leavesNothingUnlessItIsPublished)
{
    TempDir const dir;
    {
        OutputFile file(dir.file("out"), eExisting::Refuse);
        file.write(NEW.data(), NEW.size());
    }
    EXPECT_TRUE(namesIn(dir).empty());
}

TEST(OutputFile, refusesAnExistingFile)
{
    TempDir const dir;
    writeBytes(dir.file("out"), OLD);
    EXPECT_EQ(dir.file("out") + " exists already; --force replaces it",
              messageOf(dir.file("out"), eExisting::Refuse));
    EXPECT_EQ(OLD, readBytes(dir.file("out")));
}

TEST(OutputFile, refusesAFileThatHasComeMeanwhile)
{
    TempDir const dir;
    OutputFile file(dir.file("out"), eExisting::Refuse);
    writeBytes(dir.file("out"), OLD);
    EXPECT_THROW(file.publish(), FileError);
    EXPECT_EQ(OLD, readBytes(dir.file("out")));
}

TEST(OutputFile, replacesAnExistingFileOnRequestAndWhenItIsWhole)
{
    TempDir const dir;
    writeBytes(dir.file("out"), OLD);
    OutputFile file(dir.file("out"), eExisting::Replace);
    file.write(NEW.data(), NEW.size());
    EXPECT_EQ(OLD, readBytes(dir.file("out")));
    file.publish();
    EXPECT_EQ(NEW, readBytes(dir.file("out")));
    EXPECT_EQ(std::vector<std::string>{"out"}, namesIn(dir));
}

TEST(OutputFile, replacesTheFileToWhichALinkLeads)
{
    TempDir const dir;
    writeBytes(dir.file("target"), OLD);
    std::filesystem::create_symlink("target", dir.file("link"));
    EXPECT_EQ("", messageOf(dir.file("link"), eExisting::Replace));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link")));
    EXPECT_EQ(NEW, readBytes(dir.file("target")));
}

TEST(OutputFile, neverReplacesADeviceOrAFolder)
{
    TempDir const dir;
    EXPECT_EQ("cannot write /dev/null: it is not a regular file",
              messageOf("/dev/null", eExisting::Replace));
    std::filesystem::create_directory(dir.file("sub"));
    EXPECT_EQ("cannot write " + dir.file("sub") + ": it is a folder",
              messageOf(dir.file("sub"), eExisting::Replace));
}

TEST(OutputFile, saysThatThereIsNoSuchFolder)
{
    EXPECT_EQ("cannot write /no/such/out: No such file or directory",
              messageOf("/no/such/out", eExisting::Refuse));
}

TEST(OutputFile, hasTheModeThatTheUserWants)
{
    TempDir const dir;
    mode_t const mask = umask(027);
    EXPECT_EQ("", messageOf(dir.file("out"), eExisting::Refuse));
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(0, stat(dir.file("out").c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 0777U);
}

TEST(OutputFile, goesWithASignalThatEndsTheProcess)
{
    TempDir const dir;
    for (int const number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        EXPECT_EXIT(
            {
                removeUnfinishedFilesOnSignals();
                OutputFile const file(dir.file("out"), eExisting::Refuse);
                OutputFile const second(dir.file("second"), eExisting::Refuse);
                raise(number);
            },
            testing::KilledBySignal(number), "");
        EXPECT_TRUE(namesIn(dir).empty());
    }
}

TEST(OutputFile, staysWhenASignalIsIgnored)
{
    TempDir const dir;
    EXPECT_EXIT(
        {
            signal(SIGHUP, SIG_IGN);
            removeUnfinishedFilesOnSignals();
            raise(SIGHUP);
            exit(messageOf(dir.file("out"), eExisting::Refuse).empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(NEW, readBytes(dir.file("out")));
}

TEST(OutputFile, reportsThatItCannotGrowAndLeavesNothing)
{
    TempDir const dir;
    EXPECT_EXIT(
        {
            signal(SIGXFSZ, SIG_IGN);
            rlimit limit = {};
            limit.rlim_cur = limit.rlim_max = 100000;
            setrlimit(RLIMIT_FSIZE, &limit);
            std::vector<unsigned char> const content(1000000, 'x');
            try {
                OutputFile file(dir.file("out"), eExisting::Refuse);
                file.write(content.data(), content.size());
                file.publish();
            } catch (FileError const& error) {
                fprintf(stderr, "%s", error.what());
                exit(0);
            }
            exit(1);
        },
        testing::ExitedWithCode(0), "cannot write .*out: File too large");
    EXPECT_TRUE(namesIn(dir).empty());
}
