#ifndef LINK_I_UDP_RECEIVER_H
#define LINK_I_UDP_RECEIVER_H

#include <netinet/in.h>

/// Decides whether and where records are sent.
class IUdpReceiver
{
public:
    virtual ~IUdpReceiver() = default;
    virtual bool isReceiverReady() const = 0;

    /// A datagram has arrived from `from`.
    virtual void received(sockaddr const* from, unsigned char const* data, unsigned int len) = 0;

    /// Where the next datagram goes. Ask once per datagram, and only while the receiver is ready.
    /// The address belongs to the receiver.
    virtual sockaddr_in const* getReceiverAddress() = 0;
};

#endif
