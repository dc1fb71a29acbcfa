#ifndef TRANSPORT_FDLOOP_TIMER_H
#define TRANSPORT_FDLOOP_TIMER_H

#include <functional>

#include "held_function.h"
#include "i_timer.h"
#include "lifetime.h"

struct _fdloop_t;
struct _fdloop_timer_t;

/// A timer on the event loop. The loop must outlive it.
class FdloopTimer : public ITimer
{
public:
    explicit FdloopTimer(_fdloop_t* loop);
    ~FdloopTimer() override;
    FdloopTimer(FdloopTimer const&) = delete;
    FdloopTimer& operator=(FdloopTimer const&) = delete;

    void setCallBack(std::function<bool()> const& cb) override;
    void takeCallBack(std::function<bool()>&& cb); // setCallBack, without a copy of what it holds
    void startTimer(unsigned int ms) override;
    void stopTimer() override;
    bool isActive() const override;

    /// The loop's timer callback. `data` is the timer; if it is null, the result is 0.
    static int staticTimeout(void* data);

    /// The timer has expired. Returns non-zero if the loop must keep its entry.
    int timeout();

private:
    _fdloop_t* m_loop;
    _fdloop_timer_t* m_timer = nullptr; // null while inactive
    HeldFunction<bool()> m_callback;
    Lifetime m_lifetime;
};

#endif
