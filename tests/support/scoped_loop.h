#ifndef TESTS_SCOPED_LOOP_H
#define TESTS_SCOPED_LOOP_H

#include <cstdlib>

#include "fdloop.h"
#include "fdloop_handle.h"

/// A loop that is freed at the end with all its entries. The library itself cannot free one.
class ScopedLoop
{
public:
    ScopedLoop() : m_loop(fdloop_init()) {}
    ~ScopedLoop()
    {
        freeList(m_loop->fd_head);
        freeList(m_loop->timer_head);
        freeList(m_loop->idler_head);
        free(m_loop);
    }
    ScopedLoop(ScopedLoop const&) = delete;
    ScopedLoop& operator=(ScopedLoop const&) = delete;

    operator _fdloop_t*() const { return m_loop; }
    _fdloop_t* operator->() const { return m_loop; }

private:
    template <class Entry>
    static void freeList(Entry* entry)
    {
        while (entry) {
            Entry* const next = entry->next;
            free(entry);
            entry = next;
        }
    }

    _fdloop_t* m_loop;
};

/// The number of timers in the schedule.
inline unsigned timerCount(_fdloop_t const* loop)
{
    unsigned count = 0;
    for (_fdloop_timer_t const* timer = loop->timer_head; timer; timer = timer->next)
        ++count;
    return count;
}

#endif
