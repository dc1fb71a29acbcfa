#include "tt_posix_reset.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "child_process.h"
#include "temp_dir.h"
#include "tt_interrupt.h"

// The arguments last as long as the process: each test keeps its own in a child.

TEST(TtReset, endsTheProcessWithStatus0)
{
    ChildResult const child = runInChild([] {
        printf("flushed");
        tt_reset();
    });

    EXPECT_EQ("flushed", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtResetArgs, areEmptyAtFirstAndThenWhatWasSetLast)
{
    ChildResult const child = runInChild([] {
        char name[] = "program";
        char* first[] = {name, nullptr};
        char* second[] = {name, name, nullptr};
        int argc = -1;
        char** argv = first;

        tt_reset_get_args(&argc, &argv);
        printf("%d %s\n", argc, argv ? "set" : "null");
        tt_reset_set_args(1, first);
        tt_reset_set_args(2, second);
        tt_reset_get_args(&argc, &argv);
        printf("%d %s\n", argc, argv == second ? "second" : "another");
    });

    EXPECT_EQ("0 null\n2 second\n", child.output);
}

TEST(TtRestart, runsTheProgramFoundInPathWithTheArgumentsKept)
{
    ChildResult const child = runInChild([] {
        char shell[] = "sh";
        char option[] = "-c";
        char script[] = "echo \"$0:$1:$#\"; exit 7";
        char one[] = "one";
        char two[] = "two words";
        char* argv[] = {shell, option, script, one, two, nullptr};

        tt_reset_set_args(5, argv);
        tt_restart();
    });

    EXPECT_EQ("one:two words:1\n", child.output);
    EXPECT_EQ(7, child.exitCode());
}

/// Replaces the process by a shell that runs the script.
static void restartAs(char const* script)
{
    char shell[] = "sh";
    char option[] = "-c";
    std::string copy = script;
    char* argv[] = {shell, option, copy.data(), nullptr};

    tt_reset_set_args(3, argv);
    tt_restart();
}

TEST(TtRestart, writesOutTheOpenStreams)
{
    TempDir const dir;
    std::string const name = dir.file("log");
    ChildResult const child = runInChild([&name] {
        FILE* const log = fopen(name.c_str(), "w");
        fputs("recorded", log);
        restartAs(("cat " + name).c_str());
    });

    EXPECT_EQ("recorded", child.output);
}

TEST(TtRestart, handsOnNoSignalThatThisImageBlocksOrIgnores)
{
    static char const SHOW[] = "exec grep -E '^Sig(Blk|Ign)' /proc/self/status";
    ChildResult const untouched = runInChild([] { restartAs(SHOW); });
    ChildResult const changed = runInChild([] {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGUSR1);
        sigprocmask(SIG_BLOCK, &set, nullptr);
        signal(SIGINT, SIG_IGN);
        signal(SIGPIPE, SIG_IGN);
        restartAs(SHOW);
    });

    EXPECT_NE("", untouched.output);
    EXPECT_EQ(untouched.output, changed.output);
}

TEST(TtRestart, handsOnNoTimerThatWouldEndTheNewImage)
{
    ChildResult const child = runInChild([] {
        tt_interrupt_catch(SIGHUP);
        raise(SIGHUP); // alarms begin half a second later
        restartAs("sleep 0.7; echo alive");
    });

    EXPECT_EQ("alive\n", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtRestart, keepsTheSignalsWhenTheProgramCannotBeStarted)
{
    ChildResult const child = runInChild([] {
        char name[] = "/nonexistent/program";
        char* argv[] = {name, nullptr};

        signal(SIGPIPE, SIG_IGN);
        signal(SIGUSR1, [](int) { printf("handled"); });
        tt_reset_set_args(1, argv);
        tt_restart();
        raise(SIGPIPE);
        raise(SIGUSR1);
    });

    EXPECT_EQ("handled", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtRestart, returnsWhenTheProgramCannotBeStarted)
{
    ChildResult const child = runInChild([] {
        char name[] = "/nonexistent/program";
        char* argv[] = {name, nullptr};

        tt_reset_set_args(1, argv);
        int const result = tt_restart();
        printf("%d %s", result, errno == ENOENT ? "ENOENT" : "another error");
    });

    EXPECT_EQ("-1 ENOENT", child.output);
    EXPECT_EQ(0, child.exitCode());
}

TEST(TtRestart, panicsWithoutArguments)
{
    ChildResult const child = runInChild([] { tt_restart(); });

    EXPECT_EQ("Panic: *** ASSERT in tt_posix_reset at 39\n", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}
