#include "tt_outlet.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "tt_console.h"
#include "tt_interrupt.h"
#include "tt_panic.h"
#include "tt_slog.h"

// The outlet is opened for the rest of the process, so each test runs in its own process. `report`
// prints its results on the original output.

namespace
{

/// Standard output of the process, and the other end of it, which never blocks.
class Reader
{
public:
    explicit Reader(bool isSocket = false) : m_report(dup(STDOUT_FILENO))
    {
        int fds[2] = {-1, -1};
        if (isSocket ? socketpair(AF_UNIX, SOCK_STREAM, 0, fds) : pipe(fds))
            abort();
        m_reader = fds[0];
        m_writer = fds[1];
        fcntl(m_reader, F_SETFL, O_NONBLOCK);
        if (!isSocket)
            fcntl(m_writer, F_SETPIPE_SZ, CAPACITY);
        dup2(m_writer, STDOUT_FILENO);
    }

    static constexpr int CAPACITY = 4096; // of a pipe

    int writer() const { return m_writer; }
    void leave() const { close(m_reader); }

    /// All that is there to read.
    std::string read() const
    {
        std::string all;
        char bytes[CAPACITY];
        for (ssize_t got = 0; (got = ::read(m_reader, bytes, sizeof bytes)) > 0;)
            all.append(bytes, static_cast<size_t>(got));
        return all;
    }

    void makeRoom() const
    {
        char bytes[CAPACITY];
        if (::read(m_reader, bytes, sizeof bytes) != CAPACITY)
            abort();
    }

    /// What the test is told.
    void report(std::string const& text) const
    {
        if (::write(m_report, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            abort();
    }

private:
    int m_report;
    int m_reader = -1;
    int m_writer = -1;
};

}

static std::string numberedLine(int number)
{
    char line[32];
    snprintf(line, sizeof line, "line %06d of many lines\n", number);
    return line;
}

/// Whether the text is the lines from `number` on, each of them whole, none left out.
static bool isLinesFrom(int& number, std::string const& text)
{
    size_t at = 0;
    for (; at < text.size(); ++number) {
        std::string const line = numberedLine(number);
        if (text.compare(at, line.size(), line) != 0)
            return false;
        at += line.size();
    }
    return at == text.size();
}

static constexpr int MANY = 100000;

/// Prints more than any buffer holds while nobody reads, then a line now and then while somebody
/// reads. Reports whether whole lines arrived, in order, and all of those that had been taken.
static void printToSleepingReader(Reader const& reader)
{
    int taken = 0;
    for (int number = 0; number < MANY; ++number) {
        std::string const line = numberedLine(number);
        if (tt_puts(line.c_str()) == static_cast<int>(line.size()))
            taken = number + 1;
    }

    static std::string const LATER = "later\n";
    std::string all;
    std::string last;
    while (last != LATER) {
        tt_puts(LATER.c_str());
        last = reader.read();
        all += last;
    }
    int lines = 0;
    bool const isWhole = isLinesFrom(lines, all.substr(0, all.find(LATER)));
    reader.report(std::string(isWhole ? "whole" : "cut") +
                  (lines == taken ? ", all" : ", not all") + (taken < MANY ? " that fitted" : ""));
}

TEST(TtOutlet, waitsForNoReaderAndDropsWholeLinesOnly)
{
    for (bool const isSocket : {false, true}) {
        ChildResult const child = runInChild([isSocket] {
            Reader const reader(isSocket);
            tt_outlet_open();
            printToSleepingReader(reader);
        });
        EXPECT_EQ("whole, all that fitted", child.output) << isSocket;
    }
}

// As under sudo: the pipe may be written to, but not opened.
TEST(TtOutlet, waitsForNoReaderOfAnotherUsersPipe)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    ChildResult const child = runInChild([] {
        Reader const reader;
        if (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)
            abort();
        tt_outlet_open();
        printToSleepingReader(reader);
    });
    EXPECT_EQ("whole, all that fitted", child.output);
}

TEST(TtOutlet, takesTheStreamAlong)
{
    ChildResult const child = runInChild([] {
        Reader const reader;
        tt_outlet_open();
        printf("half ");
        reader.report("[" + reader.read() + "]");
        puts("a line");
        reader.report("[" + reader.read() + "]");
        for (int number = 0; number < MANY; ++number)
            puts("more than fits");
        reader.report(ferror(stdout) ? "failed" : "went on");
    });
    EXPECT_EQ("[][half a line\n]went on", child.output);
}

TEST(TtOutlet, leavesTheSharedDescriptionAsItIs)
{
    for (bool const isSocket : {false, true}) {
        ChildResult const child = runInChild([isSocket] {
            Reader const reader(isSocket);
            int const before = fcntl(reader.writer(), F_GETFL);
            tt_outlet_open();
            tt_puts("text");
            int const after = fcntl(reader.writer(), F_GETFL);
            reader.report(before == after && !(after & O_NONBLOCK) ? "same" : "changed");
        });
        EXPECT_EQ("same", child.output) << isSocket;
    }
}

TEST(TtOutlet, goesOnWhenTheReaderLeaves)
{
    for (bool const isSocket : {false, true}) {
        ChildResult const child = runInChild([isSocket] {
            Reader const reader(isSocket);
            signal(SIGPIPE, SIG_IGN);
            tt_outlet_open();
            for (int number = 0; number < MANY; ++number)
                tt_puts("kept, and then lost\n");
            reader.leave();
            int const written = tt_puts("lost\n");
            reader.report(std::to_string(written));
        });
        EXPECT_EQ("0", child.output) << isSocket;
    }
}

TEST(TtOutlet, writesIntoAFileWhateverItsSize)
{
    ChildResult const child = runInChild([] { // whose output is a file
        tt_outlet_open();
        for (int number = 0; number < MANY; ++number)
            printf("%s", numberedLine(number).c_str());
    });
    int next = 0;
    EXPECT_TRUE(isLinesFrom(next, child.output));
    EXPECT_EQ(MANY, next);
}

/// What is read at last when the reader makes room only while the program gives it a last chance.
/// `prepare` comes right before that.
static std::string readAtLast(std::function<void()> const& prepare)
{
    return runInChild([&prepare] {
               Reader const reader;
               tt_interrupt_catch(SIGINT); // lets alarms in, too
               tt_outlet_open();
               tt_puts(std::string(Reader::CAPACITY, '#').c_str());
               tt_puts("late\n");
               onceAsleep([&reader](pid_t) { reader.makeRoom(); });
               prepare();
               tt_outlet_finish();
               reader.report(reader.read());
           })
        .output;
}

/// Whether it comes to that: on a busy machine the reader may miss its chance.
static bool isLateLineReadAtLast(std::function<void()> const& prepare)
{
    static constexpr int TRIALS = 20;

    for (int trial = 0; trial < TRIALS; ++trial) {
        if (readAtLast(prepare) == "late\n")
            return true;
    }
    return false;
}

TEST(TtOutlet, givesAReaderThatIsSlowALastChance)
{
    EXPECT_TRUE(isLateLineReadAtLast([] {}));
}

// The end of a run may be interrupted again and again, by alarms and further signals.
TEST(TtOutlet, givesTheLastChanceAlsoWhenItIsInterrupted)
{
    EXPECT_TRUE(isLateLineReadAtLast([] {
        tt_unblock_start(1);
        usleep(5000); // by then alarms come
    }));
}

TEST(TtOutlet, endsThoughNobodyReads)
{
    ChildResult const child = runInChild([] {
        Reader const reader;
        tt_outlet_open();
        for (int number = 0; number < MANY; ++number)
            puts("more than fits");
        reader.report("ended");
        tt_outlet_finish();
        tt_panic("stuck\n");
    });
    EXPECT_EQ("ended", child.output);
    EXPECT_EQ(SIGABRT, child.signal());
}

// A text is dropped as a whole: it must be one.
TEST(TtOutlet, getsALogLineAsOneText)
{
    ChildResult const child = runInChild([] {
        int const report = dup(STDOUT_FILENO);
        int fds[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_DGRAM, 0, fds))
            abort();
        dup2(fds[1], STDOUT_FILENO);
        tt_slog(TT_SLOG_ERROR, "%s: socket not open", "bind");
        char text[200] = "";
        ssize_t const got = recv(fds[0], text, sizeof text - 1, MSG_DONTWAIT);
        dup2(report, STDOUT_FILENO);
        printf("%zd%s", got, text + 8); // after the time
    });
    EXPECT_EQ("39   ERROR: bind: socket not open", child.output);
}
