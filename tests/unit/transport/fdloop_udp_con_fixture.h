#ifndef TESTS_TRANSPORT_FDLOOP_UDP_CON_FIXTURE_H
#define TESTS_TRANSPORT_FDLOOP_UDP_CON_FIXTURE_H

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>

#include "fdloop_handle.h"
#include "fdloop_udp_con.h"
#include "loopback_peer.h"
#include "scoped_loop.h"

using Texts = std::vector<std::string>;
using RxCallBack = std::function<void(sockaddr const*, unsigned char const*, unsigned int)>;

inline RxCallBack appendTo(Texts& texts, std::string const& mark = "")
{
    return [&texts, mark](sockaddr const*, unsigned char const* data, unsigned int len) {
        texts.push_back(mark + std::string(reinterpret_cast<char const*>(data), len));
    };
}

/// A copy: nothing promises the alignment of a sockaddr_in.
inline sockaddr_in internetAddress(sockaddr const* address)
{
    sockaddr_in copy = {};
    memcpy(&copy, address, sizeof copy);
    return copy;
}

/// A connection that is not open yet, and somebody to talk to.
class FdloopUdpConTest : public ::testing::Test
{
protected:
    FdloopUdpConTest() : con(std::make_unique<FdloopUdpCon>(loop, 0)) {}

    /// The descriptor that the connection has registered last.
    int fd() const { return loop->fd_tail->fd; }

    void send(Texts const& datagrams)
    {
        for (std::string const& datagram : datagrams)
            peer.sendToSocket(fd(), datagram);
    }

    /// Puts the counter that all connections share back to 0.
    void resetCounter()
    {
        con->setPeriodicRxCallBack([](auto&&...) {}, 1);
        send({"reset"});
        con->rxDataReady();
        con->setPeriodicRxCallBack({}, 0);
    }

    ScopedLoop loop;
    LoopbackPeer peer;
    std::unique_ptr<FdloopUdpCon> con;
    Texts received;
};

/// The same, open.
class FdloopUdpConRx : public FdloopUdpConTest
{
protected:
    FdloopUdpConRx() { con->open(); }
};

#endif
