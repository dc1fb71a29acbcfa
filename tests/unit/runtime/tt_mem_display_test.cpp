#include "tt_mem_display.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "captured_output.h"

// Items are read in host byte order: the expected digits are those of a little-endian machine.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

// One byte in front, so that the dumps start at an odd address.
alignas(8) static unsigned char const MEMORY[] = "#ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
static unsigned char const* const DATA = MEMORY + 1;

struct DumpCase
{
    char const* name;
    int width;
    unsigned count;
    int result;
    char const* text;
};

static DumpCase const DUMPS[] = {
    {"a full line of bytes", 'b', 16, 76,
     "00001000: 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"},
    {"bytes with a short last line", 'b', 20, 64,
     "00001000: 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
     "00001010: 51 52 53 54                                      QRST\n"},
    {"one byte", 'b', 1, 61, "00001000: 41                                               A\n"},
    {"a full line of halves", 'h', 8, 68,
     "00001000: 4241 4443 4645 4847 4a49 4c4b 4e4d 504f  ABCDEFGHIJKLMNOP\n"},
    {"halves with a short last line", 'h', 9, 54,
     "00001000: 4241 4443 4645 4847 4a49 4c4b 4e4d 504f  ABCDEFGHIJKLMNOP\n"
     "00001010: 5251                                     QR\n"},
    {"a full line of words", 'w', 4, 64,
     "00001000: 44434241 48474645 4c4b4a49 504f4e4d  ABCDEFGHIJKLMNOP\n"},
    {"words with a short last line", 0, 6, 56,
     "00001000: 44434241 48474645 4c4b4a49 504f4e4d  ABCDEFGHIJKLMNOP\n"
     "00001010: 54535251 58575655                    QRSTUVWX\n"},
};

TEST(TtDataDisplay, dumpsLinesOfItemsAndCharacters)
{
    for (auto const& c : DUMPS) {
        SCOPED_TRACE(c.name);
        int result = -1;
        EXPECT_EQ(c.text, capturedOutput(
                              [&] { result = tt_data_display(c.width, DATA, c.count, 0x1000); }));
        EXPECT_EQ(c.result, result);
    }
}

TEST(TtDataDisplay, printsNothingForNoItems)
{
    int const widths[] = {'b', 'h', 'w'};
    for (int const width : widths) {
        int result = -1;
        EXPECT_EQ("", capturedOutput([&] { result = tt_data_display(width, DATA, 0, 0); }));
        EXPECT_EQ(0, result);
    }
}

TEST(TtDataDisplay, showsADotForEveryByteThatIsNotPrintable)
{
    unsigned char const data[] = {0x00, 0x1F, ' ', '~', 0x7F, 0x80, 0xE9, 0xFF, '%', '\n'};

    EXPECT_EQ("00000000: 00 1f 20 7e 7f 80 e9 ff 25 0a                    .. ~....%.\n",
              capturedOutput([&] { tt_data_display('b', data, sizeof data, 0); }));
}

TEST(TtDataDisplay, printsItemsWithLeadingZeros)
{
    unsigned char const data[] = {1, 0, 0, 0};

    EXPECT_EQ("00000000: 0001 0000                                ....\n",
              capturedOutput([&] { tt_data_display('h', data, 2, 0); }));
    EXPECT_EQ("00000000: 00000001                             ....\n",
              capturedOutput([&] { tt_data_display('w', data, 1, 0); }));
}

TEST(TtDataDisplay, labelsLinesWithTheLow32BitsOfTheAddress)
{
    auto const address = static_cast<unsigned long>(0x1FFFFFFF8ULL);

    EXPECT_EQ("fffffff8: 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
              "00000008: 51                                               Q\n",
              capturedOutput([&] { tt_data_display('b', DATA, 17, address); }));
}

TEST(TtMemDisplay, labelsLinesWithTheAddressOfTheMemory)
{
    char label[16] = "";
    auto const address = reinterpret_cast<uintptr_t>(DATA);
    int result = -1;

    snprintf(label, sizeof label, "%08x:", static_cast<unsigned>(address));
    std::string const first = label;
    snprintf(label, sizeof label, "%08x:", static_cast<unsigned>(address + 16));
    EXPECT_EQ(first + " 4241 4443 4645 4847 4a49 4c4b 4e4d 504f  ABCDEFGHIJKLMNOP\n" + label +
                  " 5251                                     QR\n",
              capturedOutput([&] { result = tt_mem_display('h', DATA, 9); }));
    EXPECT_EQ(54, result);
}
