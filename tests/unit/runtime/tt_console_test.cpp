#include "tt_console.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "captured_output.h"
#include "child_process.h"
#include "console_pipe.h"
#include "tt_outlet.h"

static std::string const HUNDRED_CHARACTERS = "0.........1.........2.........3.........4........."
                                              "5.........6.........7.........8.........9.........";
static std::string const FIRST_79_CHARACTERS = "0.........1.........2.........3.........4........."
                                               "5.........6.........7........";

TEST(TtPuts, continuesAfterPartialWritesAndInterruptions)
{
    std::string text;
    for (int i = 0; i < 2500; ++i)
        text += std::to_string(1000000 + i) + ' ';
    int written = 0;

    EXPECT_EQ(text, outputOnFullConsole([&] { written = tt_puts(text.c_str()); }));
    EXPECT_EQ(20000, written);
}

TEST(TtPuts, returnsWhatWasWrittenBeforeAnError)
{
    std::string const text(ConsolePipe::CAPACITY + 1000, 'x');
    int written = 0;
    {
        ConsolePipe const console(O_NONBLOCK);
        written = tt_puts(text.c_str());
    }
    EXPECT_EQ(ConsolePipe::CAPACITY, written);
}

TEST(TtPuts, returns0OnAClosedDescriptor)
{
    ChildResult const child = runInChild([] {
        int const output = dup(STDOUT_FILENO);
        close(STDOUT_FILENO);
        int const written = tt_puts("lost");
        dup2(output, STDOUT_FILENO);
        printf("%d", written);
    });

    EXPECT_EQ("0", child.output);
}

TEST(TtPuts, writesTheStringAsItIs)
{
    for (auto* const puts : {tt_puts, tt_console_puts}) {
        int written = -1;
        EXPECT_EQ("100 %d\tno end", capturedOutput([&] { written = puts("100 %d\tno end"); }));
        EXPECT_EQ(13, written);
        EXPECT_EQ("", capturedOutput([&] { written = puts(""); }));
        EXPECT_EQ(0, written);
    }
}

TEST(TtPuts, keepsTheOrderOfWholeLinesWithTheStream)
{
    ChildResult const child = runInChild([] {
        tt_outlet_open();
        puts("one");
        tt_puts("two\n");
        printf("%s\n", "three");
        tt_printf("%s\n", "four");
    });

    EXPECT_EQ("one\ntwo\nthree\nfour\n", child.output);
}

// A line may be printed in two steps, and what the second one has to report comes before it.
TEST(TtPuts, comesBeforeTheLineThatTheStreamHasOnlyAPartOf)
{
    ChildResult const child = runInChild([] {
        tt_outlet_open();
        printf("timeout: ");
        tt_puts("failed ");
        puts("send hello");
    });

    EXPECT_EQ("failed timeout: send hello\n", child.output);
}

TEST(TtPuts, writesNothingForAnEmptyText)
{
    ChildResult const child = runInChild([] {
        tt_outlet_open();
        printf("held");
        int const written = tt_puts("");
        tt_puts("|");
        printf(" %d", written);
    });

    EXPECT_EQ("|held 0", child.output);
}

__attribute__((format(printf, 1, 2))) static int viaVprintf(char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_vprintf(fmt, ap);
    va_end(ap);
    return len;
}

__attribute__((format(printf, 1, 2))) static int viaConsoleVprintf(char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_console_vprintf(fmt, ap);
    va_end(ap);
    return len;
}

TEST(TtPrintf, printsAtMost79Characters)
{
    struct TextCase
    {
        char const* name;
        std::string text;
        std::string printed;
    };
    TextCase const cases[] = {
        {"empty", "", ""},
        {"short", "a\n", "a\n"},
        {"as long as the limit", FIRST_79_CHARACTERS, FIRST_79_CHARACTERS},
        {"one longer", FIRST_79_CHARACTERS + '\n', FIRST_79_CHARACTERS},
        {"a hundred", HUNDRED_CHARACTERS, FIRST_79_CHARACTERS},
    };
    for (auto* const print : {tt_printf, tt_console_printf, viaVprintf, viaConsoleVprintf}) {
        for (auto const& c : cases) {
            SCOPED_TRACE(c.name);
            int len = -1;
            EXPECT_EQ(c.printed, capturedOutput([&] { len = print("%s", c.text.c_str()); }));
            EXPECT_EQ(static_cast<int>(c.printed.size()), len);
        }
    }
}

TEST(TtPrintf, formatsItsArguments)
{
    EXPECT_EQ("-7 0x1f x |", capturedOutput([] { tt_printf("%d 0x%x %c |", -7, 31U, 'x'); }));
}

TEST(TtSnprintf, storesWhatFitsAndReturnsItsLength)
{
    struct SizeCase
    {
        size_t size;
        char const* stored;
        int len;
    };
    SizeCase const cases[] = {
        {1, "", 0},
        {10, "abcdefghi", 9},
        {12, "abcdefghijk", 11},
        {13, "abcdefghijkl", 12},
        {14, "abcdefghijkl", 12},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.size);
        char text[16] = "~~~~~~~~~~~~~~~";
        EXPECT_EQ(c.len, tt_snprintf(text, c.size, "%s", "abcdefghijkl"));
        EXPECT_STREQ(c.stored, text);
        EXPECT_EQ('~', text[c.size]);
    }
}

// The C locale has no multibyte form of this character.
static wchar_t const NOT_ENCODABLE[] = L"\x4e2d";

TEST(TtSnprintf, givesAnEmptyTextWhenFormattingFails)
{
    char text[16] = "before";

    EXPECT_EQ(0, tt_snprintf(text, sizeof text, "text %ls", NOT_ENCODABLE));
    EXPECT_STREQ("", text);
}

TEST(TtPrintf, printsNothingWhenFormattingFails)
{
    int len = -1;

    EXPECT_EQ("", capturedOutput([&] { len = tt_printf("text %ls", NOT_ENCODABLE); }));
    EXPECT_EQ(0, len);
}
