#ifndef TRANSPORT_I_UDP_CON_FACTORY_H
#define TRANSPORT_I_UDP_CON_FACTORY_H

#include <memory>

#include "i_udp_con.h"

class IUdpConFactory
{
public:
    virtual ~IUdpConFactory() = default;
    virtual std::shared_ptr<IUdpCon> create() const = 0;
};

#endif
