#ifndef LINK_ACKNOWLEDGE_UDP_RECEIVER_H
#define LINK_ACKNOWLEDGE_UDP_RECEIVER_H

#include <cstdint>

#include <netinet/in.h>

#include "i_udp_receiver.h"

/// A device that announces itself: each greeting makes its sender the destination and grants it 100
/// records. Not ready before the first greeting.
class AcknowledgeUdpReceiver : public IUdpReceiver
{
public:
    bool isReceiverReady() const override;

    /// Takes a greeting, padded or not, and ignores any other datagram. `from` must not be null.
    void received(sockaddr const* from, unsigned char const* data, unsigned int len) override;

    /// Every call spends one record of the budget.
    sockaddr_in const* getReceiverAddress() override;

private:
    static constexpr int32_t RECORDS_PER_GREETING = 100;

    sockaddr_in m_address = {};
    int32_t m_sendCount = RECORDS_PER_GREETING; // since the last greeting
};

#endif
