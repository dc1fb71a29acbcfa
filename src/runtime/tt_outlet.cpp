#include "tt_outlet.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tt_interrupt.h"
#include "tt_time.h"

static constexpr size_t LATE_SIZE = 16384;
static constexpr uint32_t LAST_WAIT_MS = 200;
static constexpr unsigned STUCK_AFTER_MS = 5;

/* One attempt to write. Returns the result of write(), -1 with EAGAIN if the reader takes nothing
   now. */
using _attempt_t = ssize_t (*)(char const* text, size_t len);

static int s_fd = STDOUT_FILENO;
static bool s_is_open = false;
static uint32_t s_wait_ms = 0; /* what is left of the last wait */
static char s_late[LATE_SIZE]; /* the texts that are kept; the first may be only a part */
static size_t s_late_len = 0;

static ssize_t _write(char const* text, size_t len)
{
    return write(s_fd, text, len);
}

static _attempt_t s_attempt = _write;

static ssize_t _send(char const* text, size_t len)
{
    return send(s_fd, text, len, MSG_DONTWAIT | MSG_NOSIGNAL);
}

/* For a pipe or terminal that we may write to but not open. A write may block even if there is
   room: another program may fill it first, and a terminal may have room for only a part. */
static ssize_t _write_guarded(char const* text, size_t len)
{
    pollfd room = {s_fd, POLLOUT, 0};

    if (poll(&room, 1, 0) < 1) {
        errno = EAGAIN;
        return -1;
    }
    tt_unblock_start(STUCK_AFTER_MS);
    ssize_t const written = write(s_fd, text, std::min<size_t>(len, PIPE_BUF));
    int const error = errno;
    tt_unblock_end();
    errno = error == EINTR ? EAGAIN : error;
    return written;
}

/* Waits for the reader, as long as the last wait allows. */
static bool _has_room_again()
{
    while (s_wait_ms > 0) {
        uint32_t const start = tt_time_ms();
        pollfd room = {s_fd, POLLOUT, 0};
        int const ready = poll(&room, 1, static_cast<int>(s_wait_ms));
        s_wait_ms -= std::min(s_wait_ms, std::max<uint32_t>(tt_time_ms_elapsed(start), 1));
        if (ready > 0)
            return true;
    }
    errno = EAGAIN; /* not what became of the wait, which the end of a run may interrupt */
    return false;
}

/* Writes until all is written, the reader takes no more (EAGAIN) or an error occurs. Returns the
   number of bytes written. */
static size_t _write_on(char const* text, size_t len)
{
    size_t done = 0;

    while (done < len) {
        ssize_t const written = s_attempt(text + done, len - done);
        if (written >= 0)
            done += static_cast<size_t>(written);
        else if (errno != EINTR && !(errno == EAGAIN && _has_room_again()))
            break;
    }
    return done;
}

static void _write_late()
{
    size_t const done = _write_on(s_late, s_late_len);

    if (done < s_late_len && errno != EAGAIN)
        s_late_len = 0; /* nobody reads any more */
    if (done == 0 || s_late_len == 0)
        return;
    s_late_len -= done;
    memmove(s_late, s_late + done, s_late_len);
}

static bool _keep(char const* text, size_t len)
{
    if (len > LATE_SIZE - s_late_len)
        return false;
    memcpy(s_late + s_late_len, text, len);
    s_late_len += len;
    return true;
}

size_t tt_outlet_write(char const* text, size_t len)
{
    if (!s_is_open)
        return _write_on(text, len);

    if (s_late_len > 0)
        _write_late();
    if (s_late_len > 0)
        return _keep(text, len) ? len : 0;

    size_t const done = _write_on(text, len);
    return done == len || errno != EAGAIN || !_keep(text + done, len - done) ? done : len;
}

/* Opens the same pipe or terminal once more, to get a description that is ours alone. Returns -1 if
   it belongs to another user. */
static int _open_again()
{
    return open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

static _attempt_t _choose_attempt()
{
    struct stat status = {};

    if (fstat(STDOUT_FILENO, &status) != 0)
        return _write;
    if (S_ISSOCK(status.st_mode))
        return _send;
    if (!S_ISFIFO(status.st_mode) && !isatty(STDOUT_FILENO))
        return _write;

    int const fd = _open_again();
    if (fd == -1)
        return _write_guarded;
    s_fd = fd;
    return _write;
}

/* Never tells the stream of an error: the stream would only drop a part of the text. */
static ssize_t _write_stream(void* /*cookie*/, char const* text, size_t len)
{
    tt_outlet_write(text, len);
    return static_cast<ssize_t>(len);
}

void tt_outlet_open()
{
    s_attempt = _choose_attempt();
    s_is_open = true;

    cookie_io_functions_t functions = {};
    functions.write = _write_stream;
    FILE* const stream = fopencookie(nullptr, "w", functions);
    if (stream) {
        fflush(stdout);
        stdout = stream;
    }
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void tt_outlet_finish()
{
    fflush(stdout);
    s_wait_ms = LAST_WAIT_MS;
    if (s_late_len > 0)
        _write_late();
}
