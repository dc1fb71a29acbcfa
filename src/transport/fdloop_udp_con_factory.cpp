#include "fdloop_udp_con_factory.h"

#include "fdloop_udp_con.h"

FdloopUdpConFactory::FdloopUdpConFactory(_fdloop_t const* loop, int port)
    : m_loop(loop),
      m_port(port)
{}

std::shared_ptr<IUdpCon> FdloopUdpConFactory::create() const
{
    return std::make_shared<FdloopUdpCon>(m_loop, m_port);
}
