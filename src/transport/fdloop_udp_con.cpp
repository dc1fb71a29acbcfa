#include "fdloop_udp_con.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "fdloop.h"
#include "tt_interrupt.h"
#include "tt_slog.h"
#include "tt_time.h"

uint32_t FdloopUdpCon::s_rxCount = 0;

// Watching a socket changes the loop's lists and nothing that its owner can see.
static _fdloop_t* mutableLoop(_fdloop_t const* loop)
{
    return const_cast<_fdloop_t*>(loop);
}

FdloopUdpCon::FdloopUdpCon(_fdloop_t const* loop, int port)
    : m_loop(loop),
      m_port(port),
      m_socket(m_port)
{}

FdloopUdpCon::~FdloopUdpCon()
{
    if (isOpen())
        fdloop_fd_unregister(mutableLoop(m_loop), m_socket.getFd());
}

bool FdloopUdpCon::open()
{
    if (!m_socket.open())
        return false;

    fdloop_fd_register(mutableLoop(m_loop), m_socket.getFd(), dataReadyCallback, this);
    // A failed bind closes the socket and leaves the loop's entry, so the owner must give up this
    // connection.
    if (!m_bindGuard)
        return m_socket.bind();

    // The guard may outlive the connection.
    if (!m_guarded)
        m_guarded = std::make_shared<char>();
    m_bindGuard->setCallback([this, guarded = std::weak_ptr<void>(m_guarded)] {
        return !guarded.expired() && static_cast<IUdpSocket&>(m_socket).bind();
    });
    return true;
}

bool FdloopUdpCon::close()
{
    if (!isOpen()) {
        tt_slog(TT_SLOG_WARNING, "FdloopUdpCon::%s: not open\n", "close");
        return false;
    }
    fdloop_fd_unregister(mutableLoop(m_loop), m_socket.getFd());
    return true;
}

bool FdloopUdpCon::transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len)
{
    IUdpSocket::message_t msg;

    if (len > sizeof msg.data) {
        tt_slog(TT_SLOG_WARNING, "FdloopUdpCon::%s: %u bytes do not fit\n", "transmit", len);
        return false;
    }

    msg.addr = *to;
    msg.len = static_cast<int32_t>(len);
    if (len > 0)
        memcpy(msg.data, data, len);
    bool const sent = m_socket.transmit(msg);
    if (!sent)
        tt_slog(TT_SLOG_DEBUG, "UdpCon::%s: sendto failed errno %d", "transmit", errno);
    return sent;
}

void FdloopUdpCon::setRxCallBack(RxCallBack const& cb)
{
    m_rxCallBack = cb;
}

void FdloopUdpCon::setBindGuard(std::shared_ptr<WaitPoint> guard)
{
    m_bindGuard = std::move(guard);
}

void FdloopUdpCon::setPeriodicRxCallBack(RxCallBack const& cb, unsigned int period)
{
    m_period = cb ? period : 0;
    m_periodicRxCallBack = cb; // the last step: the former one may take the connection with it
}

int FdloopUdpCon::dataReadyCallback(int /*fd*/, void* data)
{
    if (data)
        static_cast<FdloopUdpCon*>(data)->rxDataReady();
    return 0;
}

bool FdloopUdpCon::countForPeriod()
{
    return m_periodicRxCallBack && m_period != 0 && ++s_rxCount >= m_period;
}

void FdloopUdpCon::callPeriodically(sockaddr const* from, unsigned char const* data,
                                    unsigned int len)
{
    m_periodicRxCallBack(from, data, len);
    s_rxCount = 0;
}

namespace
{

/// The drain before the end of a run. What has arrived so far belongs to the run. What comes from
/// now on does not: a device that never pauses would never let it end.
class LastDrain
{
public:
    void begin(UdpSocket& socket)
    {
        m_hasBegun = true;
        m_isFinite = socket.refuseFurther();
        m_startMs = tt_time_ms();
    }
    bool hasBegun() const { return m_hasBegun; }

    /// Where nothing keeps out what comes later, the time does.
    bool isOver() const { return !m_isFinite && tt_time_ms_elapsed(m_startMs) >= LIMIT_MS; }

private:
    static constexpr uint32_t LIMIT_MS = 500;

    bool m_hasBegun = false;
    bool m_isFinite = true;
    uint32_t m_startMs = 0;
};

}

void FdloopUdpCon::rxDataReady()
{
    Lifetime::Watch const lifetime(m_lifetime);
    // Held while it runs: it may replace itself or destroy the connection.
    HeldCallBack::Hold rxCallBack(m_rxCallBack);
    LastDrain last;

    while (!lifetime.isOver()) {
        if (!rxCallBack.isOf(m_rxCallBack)) {
            rxCallBack.take(m_rxCallBack); // the former one may take the connection with it
            continue;
        }
        if (tt_interrupted() && !last.hasBegun())
            last.begin(m_socket);
        if (last.isOver())
            return;

        IUdpSocket::message_t const msg = m_socket.receive();
        if (msg.len == 0 && last.hasBegun())
            continue; // no later pass would take those after it
        if (msg.len < 1)
            return;

        auto const* const from = reinterpret_cast<sockaddr const*>(&msg.addr);
        auto const len = static_cast<unsigned>(msg.len);

        if (rxCallBack)
            rxCallBack(from, msg.data, len);
        if (lifetime.isOver())
            return;
        if (countForPeriod())
            callPeriodically(from, msg.data, len);
    }
}
