#include "fdloop_udp_con.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "fdloop_udp_con_fixture.h"

TEST_F(FdloopUdpConRx, thePeriodicCallbackGetsEveryNthDatagramAfterTheOther)
{
    resetCounter();
    con->setRxCallBack(appendTo(received));
    con->setPeriodicRxCallBack(appendTo(received, "periodic "), 3);
    send({"1", "2", "3", "4", "5"});
    con->rxDataReady();
    send({"6", "7", "8", "9", "10"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"1", "2", "3", "periodic 3", "4", "5", "6", "periodic 6", "7", "8", "9",
                     "periodic 9", "10"}),
              received);
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackGetsTheSenderToo)
{
    sockaddr_in from = {};
    con->setPeriodicRxCallBack([&](sockaddr const* sender, unsigned char const*,
                                   unsigned int) { from = internetAddress(sender); },
                               1);
    send({"x"});
    con->rxDataReady();

    EXPECT_EQ(htons(peer.port()), from.sin_port);
}

TEST_F(FdloopUdpConRx, aPeriodOf1SeesEveryDatagramAndOneOf0None)
{
    con->setPeriodicRxCallBack(appendTo(received), 1);
    send({"1", "2"});
    con->rxDataReady();
    con->setPeriodicRxCallBack(appendTo(received), 0);
    send({"3", "4"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"1", "2"}), received);
}

TEST_F(FdloopUdpConRx, countsNothingWithoutAPeriodicCallbackOrAPeriod)
{
    resetCounter();
    con->setPeriodicRxCallBack(appendTo(received), 3);
    send({"1", "2"});
    con->rxDataReady();
    con->setPeriodicRxCallBack({}, 3);
    send({"-", "-"});
    con->rxDataReady();
    con->setPeriodicRxCallBack(appendTo(received), 0);
    send({"-", "-"});
    con->rxDataReady();
    con->setPeriodicRxCallBack(appendTo(received), 3); // goes on counting
    send({"3", "4"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"3"}), received);
}

TEST_F(FdloopUdpConRx, aShorterPeriodThanTheCountIsDueAtOnce)
{
    resetCounter();
    con->setPeriodicRxCallBack(appendTo(received), 5);
    send({"1", "2", "3"});
    con->rxDataReady();
    con->setPeriodicRxCallBack(appendTo(received), 2);
    send({"4", "5", "6"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"4", "6"}), received);
}

TEST_F(FdloopUdpConRx, allConnectionsShareTheCount)
{
    resetCounter();
    FdloopUdpCon other(loop, 0);
    other.open();
    int const otherFd = fd();
    int const conFd = loop->fd_head->fd;
    con->setPeriodicRxCallBack(appendTo(received, "con "), 3);
    other.setPeriodicRxCallBack(appendTo(received, "other "), 3);
    for (int const fd : {conFd, otherFd, otherFd, conFd, conFd, otherFd}) {
        peer.sendToSocket(fd, "x");
        con->rxDataReady();
        other.rxDataReady();
    }

    EXPECT_EQ((Texts{"other x", "other x"}), received);
}
