#include "fdloop_udp_con.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "child_process.h"
#include "fdloop_udp_con_fixture.h"
#include "socket_doubles.h"
#include "tt_interrupt.h"

// What a signal has to say is not forgotten: these run in processes of their own.
class FdloopUdpConEnd : public FdloopUdpConRx
{
protected:
    static constexpr size_t ENOUGH = 5000;

    /// Prints how many datagrams the last drain delivers.
    std::string delivered(std::function<void()> const& prepare)
    {
        return runInChild([this, &prepare] {
                   tt_interrupt_catch(SIGUSR1);
                   prepare();
                   con->rxDataReady();
                   printf("%zu", received.size());
               })
            .output;
    }

    /// As a device that never pauses: a datagram for each one that is taken.
    void refill(unsigned char const* data, unsigned int len)
    {
        received.emplace_back();
        if (received.size() == 10)
            raise(SIGUSR1);
        if (received.size() < ENOUGH)
            con->transmit(&self, data, len);
    }

    void setSelfReplacingCallback()
    {
        con->setRxCallBack([this](sockaddr const*, unsigned char const* data, unsigned int len) {
            refill(data, len);
            setSelfReplacingCallback();
        });
    }

    sockaddr_in const self = loopbackAddress(localPort(fd()));
};

TEST_F(FdloopUdpConEnd, deliversAllThatHadArrivedAlsoAfterEmptyDatagrams)
{
    EXPECT_EQ("3", delivered([this] {
                  con->setRxCallBack(appendTo(received));
                  send({"a", "", "b", "", "", "c", ""});
                  raise(SIGUSR1);
              }));
}

// The eleventh was sent before the drain had a chance to look at the signal.
TEST_F(FdloopUdpConEnd, deliversNothingThatComesAfterTheSignal)
{
    EXPECT_EQ("11", delivered([this] {
                  con->setRxCallBack([this](sockaddr const*, unsigned char const* data,
                                            unsigned int len) { refill(data, len); });
                  send({"x"});
              }));
}

TEST_F(FdloopUdpConEnd, comesThoughTheCallbackReplacesItselfEveryTime)
{
    EXPECT_EQ("11", delivered([this] {
                  setSelfReplacingCallback();
                  send({"x"});
              }));
}

TEST_F(FdloopUdpConEnd, comesAlsoWhereNothingKeepsOutWhatComesLater)
{
    std::string const count = delivered([this] {
        static Failing const noFilter(SystemCall::SETSOCKOPT, ENOMEM);
        con->setRxCallBack([this](sockaddr const*, unsigned char const* data, unsigned int len) {
            received.emplace_back();
            con->transmit(&self, data, len); // for ever
        });
        send({"a", "b"});
        raise(SIGUSR1);
    });
    EXPECT_GE(std::stoi(count), 2);
}
