#include "tt_posix_tty.h"

static void _clear(tcflag_t& flags, tcflag_t bits)
{
    flags &= ~bits;
}

int tt_posix_tty_raw(int fd, termios* saved)
{
    termios settings = {};

    if (tcgetattr(fd, &settings) != 0)
        return -1;
    if (saved)
        *saved = settings;

    _clear(settings.c_iflag, INPCK | ISTRIP | IXON);
    _clear(settings.c_cflag, CSIZE | PARENB);
    settings.c_cflag |= CS8;
    _clear(settings.c_lflag, ICANON | ECHO | IEXTEN);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;

    return tt_posix_tty_set(fd, &settings) == 0 ? 0 : -1;
}

int tt_posix_tty_set(int fd, termios const* settings)
{
    return tcsetattr(fd, TCSAFLUSH, settings);
}
