#include "log_kit/text.h"

#include <gtest/gtest.h>

TEST(Text, groupsDigits)
{
    EXPECT_EQ("0", grouped(0));
    EXPECT_EQ("999", grouped(999));
    EXPECT_EQ("1,000", grouped(1000));
    EXPECT_EQ("24,659,964", grouped(24659964));
    EXPECT_EQ("1 frame", counted(1, "frame"));
    EXPECT_EQ("0 frames", counted(0, "frame"));
}

TEST(Text, writesTimeSpans)
{
    EXPECT_EQ("0.25 s", spanText(0.25));
    EXPECT_EQ("1 min 00 s", spanText(60));
    EXPECT_EQ("12 min 04 s", spanText(724));
    EXPECT_EQ("1,000 h 00 min 09 s", spanText(3600009));
}

TEST(Text, writesSizes)
{
    EXPECT_EQ("1 byte", sizeText(1));
    EXPECT_EQ("1,023 bytes", sizeText(1023));
    EXPECT_EQ("1.5 KiB", sizeText(1536));
    EXPECT_EQ("165 MiB", sizeText(uint64_t{165} << 20));
    EXPECT_EQ("1.0 GiB", sizeText(uint64_t{1} << 30));
}

TEST(Text, writesUtc)
{
    EXPECT_EQ("2026-11-20T09:31:00Z", utcText(1795167060));
    EXPECT_EQ("1970-01-01T00:00:00Z", utcText(0));
}
