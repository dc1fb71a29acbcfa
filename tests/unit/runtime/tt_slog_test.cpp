#include "tt_slog.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "console_pipe.h"
#include "system_doubles.h"

TEST(TtSlog, printsTimeLevelAndMessage)
{
    struct LevelCase
    {
        int prio;
        char const* line;
    };
    LevelCase const cases[] = {
        {TT_SLOG_EMERG, "09:05:07   EMERG: bind: socket not open"},
        {TT_SLOG_ALERT, "09:05:07   ALERT: bind: socket not open"},
        {TT_SLOG_CRIT, "09:05:07    CRIT: bind: socket not open"},
        {TT_SLOG_ERROR, "09:05:07   ERROR: bind: socket not open"},
        {TT_SLOG_WARNING, "09:05:07 WARNING: bind: socket not open"},
        {TT_SLOG_NOTICE, "09:05:07  NOTICE: bind: socket not open"},
        {TT_SLOG_INFO, "09:05:07    INFO: bind: socket not open"},
        {TT_SLOG_DEBUG, "09:05:07   DEBUG: bind: socket not open"},
        {8, "09:05:07   EMERG: bind: socket not open"},
        {11, "09:05:07   ERROR: bind: socket not open"},
        {-1, "09:05:07   DEBUG: bind: socket not open"},
    };
    FakeRealTime const clock(LOG_TIME);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.prio);
        int len = -1;
        EXPECT_EQ(c.line,
                  capturedOutput([&] { len = tt_slog(c.prio, "%s: socket not open", "bind"); }));
        EXPECT_EQ(21, len);
    }
}

TEST(TtSlog, levelsHaveTheirNumbers)
{
    char const* const names[8] = {"EMERG",   "ALERT",  "CRIT", "ERROR",
                                  "WARNING", "NOTICE", "INFO", "DEBUG"};
    for (int prio = 0; prio < 8; ++prio)
        EXPECT_STREQ(names[prio], tt_slog_prio_txt[prio]);
    EXPECT_EQ(0, TT_SLOG_EMERG);
    EXPECT_EQ(3, TT_SLOG_ERROR);
    EXPECT_EQ(4, TT_SLOG_WARNING);
    EXPECT_EQ(7, TT_SLOG_DEBUG);
}

TEST(TtSlog, leavesTheLineEndToTheFormat)
{
    FakeRealTime const clock(LOG_TIME);

    EXPECT_EQ("09:05:07   ERROR: one09:05:07   DEBUG: two\n09:05:07    INFO: ", capturedOutput([] {
                  tt_slog(TT_SLOG_ERROR, "one");
                  tt_slog(TT_SLOG_DEBUG, "two\n");
                  tt_slog(TT_SLOG_INFO, "%s", "");
              }));
}

TEST(TtSlog, cutsTheMessageAt79Characters)
{
    FakeRealTime const clock(LOG_TIME);
    std::string const message(78, 'm');
    int len = -1;

    EXPECT_EQ("09:05:07   ERROR: " + message + "1",
              capturedOutput([&] { len = tt_slog(TT_SLOG_ERROR, "%s%d", message.c_str(), 123); }));
    EXPECT_EQ(79, len);
}

TEST(TtSlog, showsTheTimeInUtcWithLeadingZeros)
{
    FakeRealTime const clock(1614816001); // 2021-03-04 00:00:01 UTC

    EXPECT_EQ("00:00:01   ERROR: x", capturedOutput([] { tt_slog(TT_SLOG_ERROR, "x"); }));
}

TEST(TtSlogd, logsAtLevelDebugAndReturns0)
{
    FakeRealTime const clock(LOG_TIME);
    int result = -1;

    EXPECT_EQ("09:05:07   DEBUG: five 5\n",
              capturedOutput([&] { result = tt_slogd("%s %d\n", "five", 5); }));
    EXPECT_EQ(0, result);
}

// Callers report errno after they have logged it.
TEST(TtSlog, keepsErrno)
{
    capturedOutput([] {
        errno = ENETUNREACH;
        tt_slog(TT_SLOG_ERROR, "x");
        EXPECT_EQ(ENETUNREACH, errno);
        tt_slogd("%ls", L"\x4e2d"); // formatting fails and sets errno
        EXPECT_EQ(ENETUNREACH, errno);
    });
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
TEST(TtSlog, printsTheErrorOfTheCaller)
{
    FakeRealTime const clock(LOG_TIME);

    EXPECT_EQ("09:05:07   ERROR: Permission denied", capturedOutput([] {
                  errno = EACCES;
                  tt_slog(TT_SLOG_ERROR, "%m");
              }));
    // An interrupted write sets errno, too.
    EXPECT_EQ("09:05:07   ERROR: Permission denied", outputOnFullConsole([] {
                  errno = EACCES;
                  tt_slog(TT_SLOG_ERROR, "%m");
              }));
}
#pragma GCC diagnostic pop
