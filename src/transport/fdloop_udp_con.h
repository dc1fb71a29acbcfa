#ifndef TRANSPORT_FDLOOP_UDP_CON_H
#define TRANSPORT_FDLOOP_UDP_CON_H

#include <cstdint>
#include <memory>

#include "held_function.h"
#include "i_udp_con.h"
#include "lifetime.h"
#include "udp_socket.h"

struct _fdloop_t;

/// A UDP connection on the event loop. The loop must outlive it.
class FdloopUdpCon : public IUdpCon
{
public:
    /// `port` is the local port to bind; 0 lets the system choose.
    FdloopUdpCon(_fdloop_t const* loop, int port);
    ~FdloopUdpCon() override;
    FdloopUdpCon(FdloopUdpCon const&) = delete;
    FdloopUdpCon& operator=(FdloopUdpCon const&) = delete;

    bool open() override;
    bool close() override;
    bool transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len) override;
    void setRxCallBack(RxCallBack const& cb) override;
    void setBindGuard(std::shared_ptr<WaitPoint> guard) override;
    void setPeriodicRxCallBack(RxCallBack const& cb, unsigned int period) override;
    void rxDataReady() override;

    /// The loop's read callback. `data` is the connection; null is ignored.
    static int dataReadyCallback(int fd, void* data);

private:
    bool isOpen() const { return m_socket.getFd() >= 1; }

    /// Counts a datagram. Returns whether the periodic callback must run for it.
    bool countForPeriod();

    /// The connection may be gone afterwards.
    void callPeriodically(sockaddr const* from, unsigned char const* data, unsigned int len);

    using HeldCallBack = HeldFunction<void(sockaddr const*, unsigned char const*, unsigned int)>;

    // Shared by all connections, on purpose: the period counts the datagrams of the process.
    static uint32_t s_rxCount;

    _fdloop_t const* m_loop;
    int m_port;
    UdpSocket m_socket;
    HeldCallBack m_rxCallBack;
    HeldCallBack m_periodicRxCallBack;
    uint32_t m_period = 0;
    std::shared_ptr<WaitPoint> m_bindGuard;
    std::shared_ptr<void> m_guarded; // made for the first guard; expires with this object
    Lifetime m_lifetime;
};

#endif
