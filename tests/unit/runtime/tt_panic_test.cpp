#include "tt_panic.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "child_process.h"
#include "console_pipe.h"
#include "signals.h"
#include "temp_dir.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
TEST(TtPanic, printsTheMessageAndAborts)
{
    ChildResult const child = runInChild([] {
        errno = ENOENT;
        tt_panic("%s %d (%m)\n", "value", 17);
    });

    EXPECT_EQ("Panic: value 17 (No such file or directory)\n", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}

TEST(TtPanic, printsTheErrorOfTheCallerThoughAnInterruptedWriteSetsAnother)
{
    std::string const output = outputOnFullConsole([] {
        pid_t const child = fork();
        if (child == 0) {
            rlimit const noCore = {};
            setrlimit(RLIMIT_CORE, &noCore);
            ScopedSignals::handle(SIGALRM, [](int) {}); // it is the parent that makes room
            ScopedSignals::alarmEvery(2);
            errno = ENOENT;
            tt_panic("(%m)\n");
        }
        while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
        }
    });

    EXPECT_EQ("Panic: (No such file or directory)\n", output);
}
#pragma GCC diagnostic pop

TEST(TtPanic, cutsTheMessageAt79Characters)
{
    std::string const message(79, 'm');
    ChildResult const child = runInChild([&] { tt_panic("%s%s", message.c_str(), "cut"); });

    EXPECT_EQ("Panic: " + message, child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}

TEST(TtPanic, comesBehindWhatTheStreamStillHolds)
{
    ChildResult const child = runInChild([] {
        setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
        printf("before\n");
        tt_panic("late\n");
    });

    EXPECT_EQ("before\nPanic: late\n", child.output);
}

TEST(TtPanic, keepsWhatWasWrittenToOtherStreams)
{
    TempDir const folder;
    std::string const name = folder.file("log");
    ChildResult const child = runInChild([&] {
        FILE* const log = fopen(name.c_str(), "w");
        fputs("log", log);
        tt_panic("late\n");
    });

    EXPECT_EQ(SIGABRT, child.signal());
    EXPECT_EQ((std::vector<unsigned char>{'l', 'o', 'g'}), readBytes(name));
}

TEST(TtAssertFailed, namesTheUnitAndTheLine)
{
    ChildResult const child = runInChild([] { tt_assert_failed("log_tool", 42); });

    EXPECT_EQ("Panic: *** ASSERT in log_tool at 42\n", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}

TEST(TtAbort, abortsWithoutAWord)
{
    ChildResult const child = runInChild([] { tt_abort(); });

    EXPECT_EQ("", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}
