#ifndef TRANSPORT_FDLOOP_UDP_CON_FACTORY_H
#define TRANSPORT_FDLOOP_UDP_CON_FACTORY_H

#include "i_udp_con_factory.h"

struct _fdloop_t;

/// Makes connections on one loop, not yet open.
class FdloopUdpConFactory : public IUdpConFactory
{
public:
    /// `port` is the local port of every connection made; 0 lets the system choose.
    FdloopUdpConFactory(_fdloop_t const* loop, int port);

    std::shared_ptr<IUdpCon> create() const override;

private:
    _fdloop_t const* m_loop;
    int m_port;
};

#endif
