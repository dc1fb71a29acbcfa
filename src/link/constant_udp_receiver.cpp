#include "constant_udp_receiver.h"

#include <utility>

ConstantUdpReceiver::ConstantUdpReceiver(std::shared_ptr<sockaddr_in> address)
    : m_address(std::move(address))
{}

bool ConstantUdpReceiver::isReceiverReady() const
{
    return m_address != nullptr;
}

void ConstantUdpReceiver::received(sockaddr const* /*from*/, unsigned char const* /*data*/,
                                   unsigned int /*len*/)
{}

sockaddr_in const* ConstantUdpReceiver::getReceiverAddress()
{
    return m_address.get();
}
