#include "fdloop_udp_con.h"

#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "fdloop_udp_con_fixture.h"
#include "logged_output.h"
#include "text_bytes.h"

TEST_F(FdloopUdpConRx, deliversAllQueuedDatagramsInOnePass)
{
    con->setRxCallBack(appendTo(received));
    send({"one", "two", "three"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"one", "two", "three"}), received);
    EXPECT_EQ(1, loop->fd_count); // still watched
}

TEST_F(FdloopUdpConRx, tellsTheSenderOfADatagram)
{
    sockaddr_in from = {};
    con->setRxCallBack([&](sockaddr const* sender, unsigned char const*, unsigned int) {
        from = internetAddress(sender);
    });
    send({"x"});
    con->rxDataReady();

    EXPECT_EQ(AF_INET, from.sin_family);
    EXPECT_EQ(htonl(INADDR_LOOPBACK), from.sin_addr.s_addr);
    EXPECT_EQ(htons(peer.port()), from.sin_port);
}

TEST_F(FdloopUdpConRx, anEmptyDatagramEndsTheDrain)
{
    con->setRxCallBack(appendTo(received));
    send({"one", "", "two", "three"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"one"}), received);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"one", "two", "three"}), received);
}

TEST_F(FdloopUdpConRx, cutsADatagramTo1600Bytes)
{
    con->setRxCallBack(appendTo(received));
    send({pattern(1600), pattern(1601), pattern(5000), "next"});
    con->rxDataReady();

    EXPECT_EQ((Texts{pattern(1600), pattern(1600), pattern(1600), "next"}), received);
}

TEST_F(FdloopUdpConRx, discardsDatagramsWithoutACallback)
{
    send({"lost"});
    con->rxDataReady();
    con->setRxCallBack(appendTo(received));
    send({"kept"});
    con->rxDataReady();
    con->setRxCallBack({});
    send({"lost too"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"kept"}), received);
}

TEST_F(FdloopUdpConRx, anErrorEndsTheDrainSilently)
{
    con->setRxCallBack(appendTo(received));
    FdloopUdpCon closed(loop, 0);
    closed.setRxCallBack(appendTo(received));

    EXPECT_EQ("", loggedBy([&] {
                  con->rxDataReady();
                  closed.rxDataReady();
              }));
    EXPECT_TRUE(received.empty());
}

TEST_F(FdloopUdpConRx, theLoopsCallbackDrainsTheConnectionOfItsData)
{
    class Counting : public FdloopUdpCon
    {
    public:
        using FdloopUdpCon::FdloopUdpCon;
        void rxDataReady() override { ++count; }

        unsigned count = 0;
    };
    Counting counting(loop, 0);
    FdloopUdpCon* const data = &counting;

    EXPECT_EQ(0, FdloopUdpCon::dataReadyCallback(5, nullptr));
    EXPECT_EQ(0, FdloopUdpCon::dataReadyCallback(5, data));
    EXPECT_EQ(1U, counting.count);
}

TEST_F(FdloopUdpConRx, theCallbackMayReplaceItself)
{
    auto const captured = std::make_shared<std::string>("first ");
    con->setRxCallBack(
        [this, captured](sockaddr const* from, unsigned char const* data, unsigned int len) {
            con->setRxCallBack(appendTo(received, "second "));
            appendTo(received, *captured)(from, data, len);
        });
    send({"a", "b"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"first a", "second b"}), received);
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(FdloopUdpConRx, theCallbackMayCloseTheConnectionAndStillGetsWhatIsQueued)
{
    int const socket = fd();
    con->setRxCallBack([this](sockaddr const* from, unsigned char const* data, unsigned int len) {
        EXPECT_TRUE(con->close());
        appendTo(received)(from, data, len);
    });
    send({"a", "b"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"a", "b"}), received);
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_TRUE(isDescriptor(socket));
    EXPECT_EQ(1, fdloop_run(loop));
}

TEST_F(FdloopUdpConRx, theCallbackMayTransmit)
{
    con->setRxCallBack([this](sockaddr const* from, unsigned char const* data, unsigned int len) {
        sockaddr_in const to = internetAddress(from);
        EXPECT_TRUE(con->transmit(&to, data, len));
    });
    send({"a", "b"});
    con->rxDataReady();

    EXPECT_EQ("a", peer.receiveText());
    EXPECT_EQ("b", peer.receiveText());
}

TEST_F(FdloopUdpConRx, theCallbackMayDestroyTheConnection)
{
    auto const captured = std::make_shared<std::string>("last ");
    int const socket = fd();
    con->setRxCallBack(
        [this, captured](sockaddr const* from, unsigned char const* data, unsigned int len) {
            con.reset();
            appendTo(received, *captured)(from, data, len);
        });
    con->setPeriodicRxCallBack(appendTo(received, "periodic "), 1);
    send({"a", "b"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"last a"}), received);
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_FALSE(isDescriptor(socket));
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackMayDestroyTheConnection)
{
    resetCounter();
    con->setRxCallBack(appendTo(received));
    con->setPeriodicRxCallBack([this](auto&&...) { con.reset(); }, 2);
    send({"a", "b", "c"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"a", "b"}), received);
    EXPECT_EQ(0, loop->fd_count);
}

TEST_F(FdloopUdpConRx, theCallbackMayBeTheConnectionsLastOwnerAndReplaceItself)
{
    std::shared_ptr<FdloopUdpCon> owner = std::move(con);
    owner->setRxCallBack(
        [this, owner](sockaddr const* from, unsigned char const* data, unsigned int len) {
            owner->setRxCallBack({});
            appendTo(received)(from, data, len);
        });
    owner.reset();
    send({"a", "b"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"a"}), received);
    EXPECT_EQ(0, loop->fd_count);
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackMayBeTheConnectionsLastOwnerAndReplaceItself)
{
    resetCounter();
    con->setRxCallBack(appendTo(received));
    std::shared_ptr<FdloopUdpCon> owner = std::move(con);
    owner->setPeriodicRxCallBack([owner](auto&&...) { owner->setPeriodicRxCallBack({}, 0); }, 1);
    owner.reset();
    send({"a", "b"});

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"a"}), received);
    EXPECT_EQ(0, loop->fd_count);
}

TEST_F(FdloopUdpConRx, replacingAPeriodicCallbackThatOwnsTheConnectionIsHarmless)
{
    std::shared_ptr<FdloopUdpCon> owner = std::move(con);
    std::weak_ptr<FdloopUdpCon> const watched = owner;
    owner->setPeriodicRxCallBack([owner](auto&&...) {}, 1);
    FdloopUdpCon& connection = *owner;
    owner.reset();

    connection.setPeriodicRxCallBack([](auto&&...) {}, 7);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(0, loop->fd_count);
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackFindsTheStateOfItsLastRun)
{
    resetCounter();
    con->setPeriodicRxCallBack(
        [this, count = 0](auto&&...) mutable { received.push_back(std::to_string(++count)); }, 1);
    send({"a", "b"});
    con->rxDataReady();
    EXPECT_EQ((Texts{"1", "2"}), received);
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackMayReplaceItself)
{
    resetCounter();
    auto const captured = std::make_shared<std::string>("first ");
    con->setPeriodicRxCallBack(
        [this, captured](sockaddr const* from, unsigned char const* data, unsigned int len) {
            con->setPeriodicRxCallBack(appendTo(received, "second "), 1);
            appendTo(received, *captured)(from, data, len);
        },
        2);
    send({"1", "2", "3", "4"});
    con->rxDataReady();

    EXPECT_EQ((Texts{"first 2", "second 3", "second 4"}), received);
}

TEST_F(FdloopUdpConRx, thePeriodicCallbackMayClearAndSetTheOther)
{
    resetCounter();
    con->setRxCallBack(appendTo(received));
    con->setPeriodicRxCallBack([this](auto&&...) { con->setRxCallBack({}); }, 1);
    send({"a", "b"});
    con->rxDataReady();
    EXPECT_EQ((Texts{"a"}), received);

    con->setPeriodicRxCallBack([this](auto&&...) { con->setRxCallBack(appendTo(received)); }, 1);
    send({"c", "d"});
    con->rxDataReady();
    EXPECT_EQ((Texts{"a", "d"}), received);
}
