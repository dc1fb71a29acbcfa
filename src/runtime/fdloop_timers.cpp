#include <algorithm>
#include <cstdlib>

#include "fdloop.h"
#include "fdloop_handle.h"
#include "tt_slog.h"
#include "tt_time.h"

/* The time from b to a. The clock wraps, so the sign of the difference tells which is later. */
static int32_t _difference(uint32_t a, uint32_t b)
{
    return static_cast<int32_t>(a - b);
}

static void _timer_log(char const* function, _fdloop_timer_t const* timer)
{
    tt_slogd("%s %p: func=%p data=%p\n", function, static_cast<void const*>(timer),
             reinterpret_cast<void*>(timer->func), timer->data);
}

/* Inserts after all timers that expire no later, so that equal expiries run in order. */
static void _timer_set(_fdloop_timer_t** head, unsigned debug, _fdloop_timer_t* timer)
{
    if (debug >= 2)
        _timer_log("_timer_set", timer);

    _fdloop_timer_t** link = head;
    while (*link && _difference((*link)->expire, timer->expire) <= 0)
        link = &(*link)->next;
    timer->next = *link;
    *link = timer;
}

static void _timer_del(unsigned debug, _fdloop_timer_t* timer)
{
    if (debug >= 1)
        _timer_log("_timer_del", timer);
    free(timer);
}

uint32_t fdloop_time_ms()
{
    return tt_time_ms();
}

_fdloop_timer_t* fdloop_timer_add(_fdloop_t* loop, unsigned interval_ms, fdloop_timer_func func,
                                  void* data)
{
    auto* const timer = static_cast<_fdloop_timer_t*>(malloc(sizeof(_fdloop_timer_t)));
    if (!timer)
        return nullptr;

    timer->interval = interval_ms;
    timer->expire = interval_ms + fdloop_time_ms();
    timer->func = func;
    timer->data = data;
    timer->deleted = 0;
    if (loop->debug >= 1)
        tt_slogd("%s %p: func=%p data=%p: %8u\n", "fdloop_timer_add", static_cast<void*>(timer),
                 reinterpret_cast<void*>(func), data, interval_ms);

    if (loop->timer_busy) {
        timer->next = loop->timer_new;
        loop->timer_new = timer;
    } else {
        _timer_set(&loop->timer_head, loop->debug, timer);
    }
    return timer;
}

void fdloop_timer_del(_fdloop_t* loop, _fdloop_timer_t* timer)
{
    if (loop->debug >= 1)
        _timer_log("fdloop_timer_del", timer);

    if (loop->timer_busy) {
        timer->deleted = 1;
        loop->timer_dirty = 1;
        return;
    }

    _fdloop_timer_t** link = &loop->timer_head;
    while (*link && *link != timer)
        link = &(*link)->next;
    if (*link) {
        *link = timer->next;
        _timer_del(loop->debug, timer);
    }
}

void fdloop_timer_set_interval(_fdloop_timer_t* timer, unsigned interval_ms)
{
    timer->interval = interval_ms;
}

unsigned fdloop_timer_get_interval(_fdloop_timer_t* timer)
{
    return timer->interval;
}

/* Runs the due timers and moves the head past them. They stay linked in front of it. Returns the
   last one that must run again. */
static _fdloop_timer_t* _timers_fire(_fdloop_t* loop, uint32_t now)
{
    _fdloop_timer_t* last_kept = nullptr;

    loop->timer_busy = 1;
    for (_fdloop_timer_t* timer = loop->timer_head; timer; timer = loop->timer_head) {
        if (!timer->deleted) {
            int32_t const diff = _difference(timer->expire, now);
            if (diff > 0)
                break;
            if (loop->debug >= 2)
                tt_slogd("%s - run %p: func=%p data=%p: %8d\n", "fdloop_timers_run",
                         static_cast<void*>(timer), reinterpret_cast<void*>(timer->func),
                         timer->data, diff);
            int const again = timer->func(timer->data);
            if (again && !timer->deleted) {
                last_kept = timer;
            } else {
                timer->deleted = 1;
                loop->timer_dirty = 1;
            }
        }
        loop->timer_head = timer->next;
    }
    loop->timer_busy = 0;
    return last_kept;
}

/* Frees the timers marked deleted, in the chain that has just run and in the schedule after it. */
static void _timers_sweep(_fdloop_t* loop, _fdloop_timer_t** chain, _fdloop_timer_t** last_kept)
{
    _fdloop_timer_t* prev = nullptr;
    _fdloop_timer_t** link = chain;

    if (loop->debug >= 2)
        tt_slogd("%s: Delete deleted\n", "fdloop_timers_run");
    loop->timer_dirty = 0;
    while (_fdloop_timer_t* const timer = *link) {
        if (!timer->deleted) {
            prev = timer;
            link = &timer->next;
            continue;
        }
        *link = timer->next; /* never the head: that one has not run and is not deleted */
        if (*last_kept == timer)
            *last_kept = prev;
        _timer_del(loop->debug, timer);
    }
}

static void _timers_reschedule(_fdloop_t* loop, _fdloop_timer_t* chain, _fdloop_timer_t* last_kept)
{
    if (loop->debug >= 2)
        tt_slogd("%s: Reschedule expired\n", "fdloop_timers_run");
    last_kept->next = nullptr;
    while (chain) {
        _fdloop_timer_t* const timer = chain;
        chain = timer->next;
        /* From the last expiry, not from now. So the timer does not drift, and one that is late
           catches up by one run a pass. */
        timer->expire += timer->interval;
        _timer_set(&loop->timer_head, loop->debug, timer);
    }
}

static void _timers_schedule_new(_fdloop_t* loop)
{
    if (loop->debug >= 2)
        tt_slogd("%s: Schedule new\n", "fdloop_timers_run");
    while (_fdloop_timer_t* const timer = loop->timer_new) {
        loop->timer_new = timer->next;
        if (timer->deleted)
            _timer_del(loop->debug, timer);
        else
            _timer_set(&loop->timer_head, loop->debug, timer);
    }
}

uint32_t fdloop_timers_run(_fdloop_t* loop, uint32_t now)
{
    _fdloop_timer_t* chain = loop->timer_head;

    if (!chain)
        return 0;

    _fdloop_timer_t* last_kept = _timers_fire(loop, now);
    if (loop->timer_dirty)
        _timers_sweep(loop, &chain, &last_kept);
    if (last_kept)
        _timers_reschedule(loop, chain, last_kept);
    if (loop->timer_new)
        _timers_schedule_new(loop);

    uint32_t next = 0;
    if (loop->timer_head)
        next = static_cast<uint32_t>(std::max(_difference(loop->timer_head->expire, now), 1));
    if (loop->debug >= 2)
        tt_slogd("%s - next in %8d\n", "fdloop_timers_run", static_cast<int>(next));
    return next;
}
