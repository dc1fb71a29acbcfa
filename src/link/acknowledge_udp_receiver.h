#ifndef LINK_ACKNOWLEDGE_UDP_RECEIVER_H
#define LINK_ACKNOWLEDGE_UDP_RECEIVER_H

#include <cstdint>

#include <netinet/in.h>

#include "i_udp_receiver.h"

/// A device that announces itself: each hello makes its sender the destination and grants it 100
/// records. Not ready before the first hello.
class AcknowledgeUdpReceiver : public IUdpReceiver
{
public:
    bool isReceiverReady() const override;

    /// Takes a hello, padded or not, and ignores any other datagram. `from` must not be null.
    void received(sockaddr const* from, unsigned char const* data, unsigned int len) override;

    /// Every call uses up one of the 100 records: ask once per datagram sent.
    sockaddr_in const* getReceiverAddress() override;

private:
    static constexpr int32_t RECORDS_PER_GREETING = 100;

    sockaddr_in m_address = {};
    int32_t m_sendCount = RECORDS_PER_GREETING; // since the last hello
};

#endif
