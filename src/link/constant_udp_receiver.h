#ifndef LINK_CONSTANT_UDP_RECEIVER_H
#define LINK_CONSTANT_UDP_RECEIVER_H

#include <memory>

#include "i_udp_receiver.h"

/// A device at a known address. Always ready, unless the address is null.
class ConstantUdpReceiver : public IUdpReceiver
{
public:
    explicit ConstantUdpReceiver(std::shared_ptr<sockaddr_in> address);

    bool isReceiverReady() const override;
    void received(sockaddr const* from, unsigned char const* data, unsigned int len) override;
    sockaddr_in const* getReceiverAddress() override;

private:
    std::shared_ptr<sockaddr_in> m_address;
};

#endif
