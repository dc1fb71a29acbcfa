#ifndef TRANSPORT_I_UDP_CON_H
#define TRANSPORT_I_UDP_CON_H

#include <functional>
#include <memory>

#include <netinet/in.h>

#include "wait_point.h"

/// A UDP connection: sends datagrams and hands the received ones to a callback. Failures are
/// logged and reported as false.
class IUdpCon
{
public:
    /// Gets the sender, the bytes and their number, valid for the call only. It may replace itself
    /// and destroy the connection.
    using RxCallBack = std::function<void(sockaddr const*, unsigned char const*, unsigned int)>;

    virtual ~IUdpCon() = default;

    /// Creates, watches and binds the socket. Do not call it again while the socket exists.
    virtual bool open() = 0;

    /// Ends reception only. The socket stays open, for transmit, until the connection is destroyed.
    virtual bool close() = 0;

    /// Sends one datagram of at most 1600 bytes.
    virtual bool transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len) = 0;

    /// An empty callback discards what arrives.
    virtual void setRxCallBack(RxCallBack const& cb) = 0;

    /// From the next open() on, the socket is bound only when `guard` is reached. Null means no
    /// guard.
    virtual void setBindGuard(std::shared_ptr<WaitPoint> guard) = 0;

    /// Sets a second callback, which runs after the first one for every `period`-th datagram. All
    /// connections of the process share one count. A connection without a second callback adds
    /// nothing to it.
    virtual void setPeriodicRxCallBack(RxCallBack const& cb, unsigned int period) = 0;

    /// Delivers the datagrams that are queued in the socket. It stops at an empty one, and the
    /// event loop reports those after it. Once a signal that ends the run has been caught, it
    /// delivers all that have arrived so far, and none that come later.
    virtual void rxDataReady() = 0;
};

#endif
