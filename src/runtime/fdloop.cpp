#include "fdloop.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <sys/select.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fdloop_handle.h"
#include "tt_panic.h"
#include "tt_time.h"

static constexpr unsigned DEBUG_SELECTOR = 0x20000;

template <class Entry>
static Entry* _allocate(int assert_line)
{
    auto* const entry = static_cast<Entry*>(calloc(1, sizeof(Entry)));
    if (!entry)
        tt_assert_failed("fdloop", assert_line);
    return entry;
}

template <class Entry>
static void _append(Entry*& head, Entry*& tail, Entry* entry)
{
    if (head)
        tail->next = entry;
    else
        head = entry;
    tail = entry;
}

_fdloop_t* fdloop_init()
{
    auto* const loop = _allocate<_fdloop_t>(35);
    loop->now_ms = fdloop_time_ms();
    return loop;
}

void fdloop_debug(_fdloop_t* loop, unsigned flags)
{
    if (flags & DEBUG_SELECTOR)
        loop->debug = static_cast<uint8_t>(flags & 0xFF);
}

/* Descriptors */

static _fdloop_fd_t* _fd_add(_fdloop_t* loop, uint8_t dir, int fd, fdloop_fd_func func, void* data)
{
    if (fd < 0)
        return nullptr;

    auto* const entry = _allocate<_fdloop_fd_t>(58);
    entry->dir = dir;
    entry->fd = static_cast<int16_t>(fd);
    entry->func = func;
    entry->data = data;
    entry->enabled = 1;
    _append(loop->fd_head, loop->fd_tail, entry);
    ++loop->fd_count;
    ++loop->fd_dir_count[dir];
    return entry;
}

/* Removes the entry after `prev`, or the head if that is null, from the list and frees it. */
static void _fd_remove(_fdloop_t* loop, _fdloop_fd_t* prev, _fdloop_fd_t* entry)
{
    (prev ? prev->next : loop->fd_head) = entry->next;
    if (loop->fd_tail == entry)
        loop->fd_tail = prev;
    --loop->fd_count;
    --loop->fd_dir_count[entry->dir];
    free(entry);
}

static void _fd_mark_deleted(_fdloop_t* loop, _fdloop_fd_t* entry)
{
    entry->deleted = 1;
    loop->fd_dirty = 1;
}

static void _fd_del(_fdloop_t* loop, uint8_t dir, int fd)
{
    _fdloop_fd_t* prev = nullptr;
    _fdloop_fd_t* entry = loop->fd_head;

    while (entry &&
           !(entry->fd == static_cast<int16_t>(fd) && entry->dir == dir && !entry->deleted)) {
        prev = entry;
        entry = entry->next;
    }
    if (!entry)
        return;

    if (loop->fd_busy)
        _fd_mark_deleted(loop, entry);
    else
        _fd_remove(loop, prev, entry);
}

static void _fd_unregister(_fdloop_t* loop, uint8_t dir, int fd)
{
    if (fd < 0)
        return; /* never registered, and no bit to clear */

    _fd_del(loop, dir, fd);
    FD_CLR(fd, &loop->fd_sets[dir]);
}

_fdloop_fd_t* fdloop_fd_register(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data)
{
    return _fd_add(loop, FDLOOP_READ, fd, func, data);
}

_fdloop_fd_t* fdloop_fd_register_write(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data)
{
    return _fd_add(loop, FDLOOP_WRITE, fd, func, data);
}

_fdloop_fd_t* fdloop_fd_register_except(_fdloop_t* loop, int fd, fdloop_fd_func func, void* data)
{
    return _fd_add(loop, FDLOOP_EXCEPT, fd, func, data);
}

void fdloop_fd_unregister(_fdloop_t* loop, int fd)
{
    _fd_unregister(loop, FDLOOP_READ, fd);
}

void fdloop_fd_unregister_write(_fdloop_t* loop, int fd)
{
    _fd_unregister(loop, FDLOOP_WRITE, fd);
}

void fdloop_fd_unregister_except(_fdloop_t* loop, int fd)
{
    _fd_unregister(loop, FDLOOP_EXCEPT, fd);
}

void fdloop_fd_enable(_fdloop_t* loop, int fd, fdloop_fd_func func, int enable)
{
    for (_fdloop_fd_t* entry = loop->fd_head; entry; entry = entry->next) {
        if (entry->fd == fd && entry->func == func) {
            entry->enabled = static_cast<uint8_t>(enable);
            return;
        }
    }
}

/* Idlers */

_fdloop_idler_t* fdloop_idler_add(_fdloop_t* loop, fdloop_idler_func func, void* data)
{
    auto* const idler = _allocate<_fdloop_idler_t>(175);
    idler->func = func;
    idler->data = data;
    _append(loop->idler_head, loop->idler_tail, idler);
    return idler;
}

static void _idlers_run(_fdloop_t* loop)
{
    for (_fdloop_idler_t* idler = loop->idler_head; idler; idler = idler->next)
        idler->func(idler->data);
}

/* Signals */

static int _signal_read(int fd, void* data)
{
    auto const func = reinterpret_cast<fdloop_signal_func>(data);
    signalfd_siginfo info = {};

    if (read(fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info))
        return 0;

    auto const signo = static_cast<int>(info.ssi_signo);
    if (signo != SIGCHLD) {
        func(fd, signo, static_cast<int>(info.ssi_pid), 0);
        return 0;
    }

    /* Pending signals of one kind merge: one record may stand for several children. */
    int status = 0;
    for (pid_t pid = waitpid(-1, &status, WNOHANG); pid > 0; pid = waitpid(-1, &status, WNOHANG))
        func(fd, SIGCHLD, pid, (status >> 8) & 0xFF);
    return 0;
}

static sigset_t _sigset_of(int signo)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signo);
    return set;
}

int fdloop_register_signal(_fdloop_t* loop, fdloop_signal_func func, int signo)
{
    sigset_t const set = _sigset_of(signo);

    sigprocmask(SIG_BLOCK, &set, nullptr);
    int const fd = signalfd(-1, &set, SFD_CLOEXEC);
    if (fd < 0)
        return fd;

    fdloop_fd_register(loop, fd, _signal_read, reinterpret_cast<void*>(func));
    return fd;
}

int fdloop_unregister_signal(_fdloop_t* loop, int fd, int signo)
{
    sigset_t const set = _sigset_of(signo);

    fdloop_fd_unregister(loop, fd);
    close(fd);
    return sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

/* The pass */

/* Fills the sets of the enabled entries and points `sets` at them. Returns the largest descriptor,
   or -1 if there is none. */
static int _fd_sets_fill(_fdloop_t* loop, fd_set* sets[FDLOOP_DIRECTIONS])
{
    int max_fd = -1;

    for (int dir = 0; dir < FDLOOP_DIRECTIONS; ++dir) {
        if (loop->fd_dir_count[dir] > 0)
            FD_ZERO(&loop->fd_sets[dir]);
    }
    for (_fdloop_fd_t const* entry = loop->fd_head; entry; entry = entry->next) {
        if (!entry->enabled)
            continue;
        sets[entry->dir] = &loop->fd_sets[entry->dir];
        FD_SET(entry->fd, sets[entry->dir]);
        max_fd = std::max<int>(max_fd, entry->fd);
    }
    return max_fd;
}

/* A `timeout` of 0 is no time limit. */
static int _wait(int max_fd, fd_set* sets[FDLOOP_DIRECTIONS], uint32_t timeout)
{
    timeval limit = {};
    limit.tv_sec = static_cast<time_t>(timeout / 1000);
    limit.tv_usec = static_cast<suseconds_t>(timeout % 1000) * 1000;

    return select(max_fd + 1, sets[FDLOOP_READ], sets[FDLOOP_WRITE], sets[FDLOOP_EXCEPT],
                  timeout ? &limit : nullptr);
}

static void _fd_sweep(_fdloop_t* loop)
{
    _fdloop_fd_t* prev = nullptr;
    _fdloop_fd_t* next = nullptr;

    loop->fd_dirty = 0;
    for (_fdloop_fd_t* entry = loop->fd_head; entry; entry = next) {
        next = entry->next;
        if (entry->deleted)
            _fd_remove(loop, prev, entry);
        else
            prev = entry;
    }
}

static void _fd_dispatch(_fdloop_t* loop, fd_set* sets[FDLOOP_DIRECTIONS])
{
    loop->fd_busy = 1;
    for (_fdloop_fd_t* entry = loop->fd_head; entry; entry = entry->next) {
        fd_set* const set = sets[entry->dir];
        if (!entry->enabled || entry->deleted || !set || !FD_ISSET(entry->fd, set))
            continue;
        if (entry->func(entry->fd, entry->data) != 0 || entry->deleted) {
            _fd_mark_deleted(loop, entry);
            /* The descriptor may be closed by now: later entries for it are not ready. */
            FD_CLR(entry->fd, set);
        }
    }
    loop->fd_busy = 0;

    if (loop->fd_dirty)
        _fd_sweep(loop);
}

int fdloop_run(_fdloop_t* loop)
{
    fd_set* sets[FDLOOP_DIRECTIONS] = {}; /* null while nobody watches the direction */

    loop->now_ms = fdloop_time_ms();
    uint32_t const timeout = fdloop_timers_run(loop, loop->now_ms);
    _idlers_run(loop);
    int const max_fd = _fd_sets_fill(loop, sets);

    if (timeout == 0 && max_fd == -1)
        return 1; /* nothing to wait for */

    int const ready = _wait(max_fd, sets, timeout);
    if (ready > 0)
        _fd_dispatch(loop, sets);

    /* A signal only cuts the wait short: the caller's next pass waits again. */
    return ready >= 0 || errno == EINTR ? 0 : -1;
}

int fdloop_loop(_fdloop_t* loop)
{
    int result = 0;

    while (result == 0)
        result = fdloop_run(loop);
    return result;
}
