#include "tt_posix_tty.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "system_doubles.h"

static constexpr tcflag_t LOST_INPUT_FLAGS = INPCK | ISTRIP | IXON;
static constexpr tcflag_t KEPT_INPUT_FLAGS = BRKINT | ICRNL | IGNPAR | IXANY;
static constexpr tcflag_t OUTPUT_FLAGS = OPOST | ONLCR;
static constexpr tcflag_t LOST_LOCAL_FLAGS = ICANON | ECHO | IEXTEN;
static constexpr tcflag_t KEPT_LOCAL_FLAGS = ISIG | ECHOE | ECHOK | NOFLSH;

class PseudoTerminal
{
public:
    PseudoTerminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY))
    {
        char name[64] = "";
        if (m_master == -1 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
            ptsname_r(m_master, name, sizeof name) != 0)
            abort();
        m_slave = open(name, O_RDWR | O_NOCTTY | O_NONBLOCK);
    }
    ~PseudoTerminal()
    {
        close(m_slave);
        close(m_master);
    }
    PseudoTerminal(PseudoTerminal const&) = delete;
    PseudoTerminal& operator=(PseudoTerminal const&) = delete;

    int master() const { return m_master; }
    int slave() const { return m_slave; }

    termios settings() const
    {
        termios result = {};
        tcgetattr(m_slave, &result);
        return result;
    }

private:
    int m_master = -1;
    int m_slave = -1;
};

static termios cookedSettings(termios settings)
{
    settings.c_iflag = LOST_INPUT_FLAGS | KEPT_INPUT_FLAGS;
    settings.c_oflag = OUTPUT_FLAGS;
    settings.c_cflag |= CREAD;
    settings.c_lflag = LOST_LOCAL_FLAGS | KEPT_LOCAL_FLAGS;
    settings.c_cc[VMIN] = 5;
    settings.c_cc[VTIME] = 6;
    settings.c_cc[VINTR] = 3;
    return settings;
}

static void expectEqual(termios const& expected, termios const& actual)
{
    EXPECT_EQ(expected.c_iflag, actual.c_iflag);
    EXPECT_EQ(expected.c_oflag, actual.c_oflag);
    EXPECT_EQ(expected.c_cflag, actual.c_cflag);
    EXPECT_EQ(expected.c_lflag, actual.c_lflag);
    for (unsigned i = 0; i < NCCS; ++i)
        EXPECT_EQ(expected.c_cc[i], actual.c_cc[i]) << "c_cc[" << i << ']';
}

static termios rawSettings(termios settings)
{
    settings.c_iflag = KEPT_INPUT_FLAGS;
    settings.c_oflag = OUTPUT_FLAGS;
    settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE | PARENB)) | CS8;
    settings.c_lflag = KEPT_LOCAL_FLAGS;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    return settings;
}

class TtPosixTty : public ::testing::Test
{
protected:
    TtPosixTty()
    {
        termios const settings = cookedSettings(m_terminal.settings());
        tcsetattr(m_terminal.slave(), TCSANOW, &settings);
        m_cooked = m_terminal.settings();
    }

    PseudoTerminal m_terminal;
    termios m_cooked = {};
};

TEST_F(TtPosixTty, rawChangesItsFlagsOnly)
{
    EXPECT_EQ(0, tt_posix_tty_raw(m_terminal.slave(), nullptr));
    expectEqual(rawSettings(m_cooked), m_terminal.settings());
}

TEST_F(TtPosixTty, setRestoresTheSettingsThatRawSaved)
{
    termios saved = {};

    ASSERT_EQ(0, tt_posix_tty_raw(m_terminal.slave(), &saved));
    expectEqual(m_cooked, saved);
    EXPECT_EQ(0, tt_posix_tty_set(m_terminal.slave(), &saved));
    expectEqual(m_cooked, m_terminal.settings());
}

TEST_F(TtPosixTty, rawDiscardsTheInputThatWaits)
{
    pollfd arrival = {m_terminal.slave(), POLLIN, 0};
    ASSERT_EQ(5, write(m_terminal.master(), "line\n", 5));
    ASSERT_EQ(1, poll(&arrival, 1, -1));
    ASSERT_EQ(0, tt_posix_tty_raw(m_terminal.slave(), nullptr));

    char byte = '\0';
    EXPECT_EQ(-1, read(m_terminal.slave(), &byte, 1));
    EXPECT_EQ(EAGAIN, errno);
}

TEST_F(TtPosixTty, bothFailOnADescriptorThatIsNoTerminal)
{
    int fds[2] = {-1, -1};
    ASSERT_EQ(0, pipe(fds));
    termios saved = m_cooked;

    EXPECT_EQ(-1, tt_posix_tty_raw(fds[0], &saved));
    expectEqual(m_cooked, saved);
    EXPECT_EQ(-1, tt_posix_tty_set(fds[0], &saved));
    close(fds[0]);
    close(fds[1]);
}

// A pseudo terminal is always set to eight bits without parity, so it cannot show these.
TEST(TtPosixTtyRaw, setsEightBitsWithoutParity)
{
    FakeTerminal terminal;
    terminal.settings.c_cflag = CS7 | PARENB | PARODD | CREAD | HUPCL | B9600;

    EXPECT_EQ(0, tt_posix_tty_raw(STDIN_FILENO, nullptr));
    EXPECT_EQ(static_cast<tcflag_t>(CS8 | PARODD | CREAD | HUPCL | B9600),
              terminal.settings.c_cflag);
    EXPECT_EQ(TCSAFLUSH, terminal.action);
}

TEST(TtPosixTtyRaw, failsWhenTheSettingsCannotBeApplied)
{
    FakeTerminal terminal;
    terminal.setResult = -1;

    EXPECT_EQ(-1, tt_posix_tty_raw(STDIN_FILENO, nullptr));
}
