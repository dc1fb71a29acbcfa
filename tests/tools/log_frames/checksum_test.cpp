#include "log_frames/checksum.h"

#include <gtest/gtest.h>

#include <string>

static Checksum checksumOf(std::string const& bytes, size_t atATime = SIZE_MAX)
{
    Checksum checksum;
    for (size_t at = 0; at < bytes.size();) {
        std::string const part = bytes.substr(at, atATime);
        checksum.add(reinterpret_cast<unsigned char const*>(part.data()), part.size());
        at += part.size();
    }
    return checksum;
}

static std::string someBytes(size_t count)
{
    std::string bytes;
    for (size_t i = 0; i < count; ++i)
        bytes += static_cast<char>(i * 31 + i / 100);
    return bytes;
}

TEST(Checksum, isTheSameHoweverTheBytesAreDivided)
{
    std::string const bytes = someBytes(1001);
    for (size_t atATime = 1; atATime < 200; ++atATime)
        EXPECT_TRUE(checksumOf(bytes) == checksumOf(bytes, atATime)) << atATime;
}

TEST(Checksum, tellsAChangeOfAnyByte)
{
    std::string const bytes = someBytes(300);
    for (size_t at = 0; at < bytes.size(); ++at) {
        std::string changed = bytes;
        changed[at] = static_cast<char>(changed[at] + 1);
        EXPECT_TRUE(checksumOf(bytes) != checksumOf(changed)) << at;
    }
}

TEST(Checksum, tellsMissingBytesAndAnotherOrder)
{
    std::string const bytes = someBytes(256);
    EXPECT_TRUE(checksumOf(bytes) != checksumOf(bytes.substr(0, 255)));
    EXPECT_TRUE(checksumOf(bytes) != checksumOf(bytes + '\0'));
    std::string const swapped = bytes.substr(64, 64) + bytes.substr(0, 64) + bytes.substr(128);
    EXPECT_TRUE(checksumOf(bytes) != checksumOf(swapped));
}
