#include "fdloop_udp_con.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "allocations.h"
#include "captured_output.h"
#include "child_process.h"
#include "fdloop_udp_con_factory.h"
#include "logged_output.h"
#include "loopback_peer.h"
#include "no_descriptors.h"
#include "scoped_loop.h"
#include "signals.h"
#include "socket_doubles.h"
#include "system_doubles.h"
#include "tt_interrupt.h"
#include "wait_point.h"

using Texts = std::vector<std::string>;
using RxCallBack = std::function<void(sockaddr const*, unsigned char const*, unsigned int)>;

static RxCallBack appendTo(Texts& texts, std::string const& mark = "")
{
    return [&texts, mark](sockaddr const*, unsigned char const* data, unsigned int len) {
        texts.push_back(mark + std::string(reinterpret_cast<char const*>(data), len));
    };
}

/// A copy: nothing promises the alignment of a sockaddr_in.
static sockaddr_in internetAddress(sockaddr const* address)
{
    sockaddr_in copy = {};
    memcpy(&copy, address, sizeof copy);
    return copy;
}

class FdloopUdpConTest : public ::testing::Test
{
protected:
    FdloopUdpConTest() : con(std::make_unique<FdloopUdpCon>(loop, 0)) {}

    /// The descriptor that the connection has registered last.
    int fd() const { return loop->fd_tail->fd; }

    void send(Texts const& datagrams)
    {
        for (std::string const& datagram : datagrams)
            peer.send(datagram, fd());
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

TEST_F(FdloopUdpConTest, openWatchesASocketOnAFreePort)
{
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_EQ("", loggedBy([this] { EXPECT_TRUE(con->open()); }));

    EXPECT_EQ(1, loop->fd_count);
    EXPECT_EQ(1, loop->fd_dir_count[FDLOOP_READ]);
    EXPECT_NE(0, localPort(fd()));
    EXPECT_EQ(htonl(INADDR_ANY), localAddress(fd()).sin_addr.s_addr);
    EXPECT_NE(0, fcntl(fd(), F_GETFL) & O_NONBLOCK);
}

TEST_F(FdloopUdpConTest, openFailsWithoutDescriptors)
{
    ChildResult const child = runInChild([this] {
        FakeRealTime const clock(LOG_TIME);
        NoDescriptors const noDescriptors;
        bool const opened = con->open();
        printf("|%d %d", opened, loop->fd_count);
    });

    EXPECT_EQ("09:05:07   ERROR: open: socket create failed errno 24|0 0", child.output);
}

TEST_F(FdloopUdpConTest, openFailsOnAPortInUse)
{
    FdloopUdpCon second(loop, peer.port());

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([&] { EXPECT_FALSE(second.open()); }));
    // The registration stays; the caller is to give up on the connection.
    EXPECT_EQ(1, loop->fd_count);
    EXPECT_FALSE(isDescriptor(fd()));
    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::close: not open\n",
              loggedBy([&] { EXPECT_FALSE(second.close()); }));
}

TEST_F(FdloopUdpConTest, openFailsWhenTheDescriptorStaysBlocking)
{
    EXPECT_EQ("09:05:07   ERROR: open: turning NONBLOCKING on failed errno 22", loggedBy([this] {
                  Failing const failing(SystemCall::FCNTL_SETFL, EINVAL);
                  EXPECT_FALSE(con->open());
              }));
    EXPECT_EQ(0, loop->fd_count);
}

TEST_F(FdloopUdpConTest, takesDescriptor0ForNotOpen)
{
    ChildResult const child = runInChild([this] {
        FakeRealTime const clock(LOG_TIME);
        close(STDIN_FILENO);
        bool const opened = con->open();
        printf("\nopened %d, %d watched\n", opened, loop->fd_count);
        bool const closed = con->close();
        printf("closed %d\n", closed);
        con.reset();
        printf("%d watched, left open %d\n", loop->fd_count, isDescriptor(0));
    });

    EXPECT_EQ("09:05:07   ERROR: bind: socket not open\n"
              "opened 0, 1 watched\n"
              "09:05:07 WARNING: FdloopUdpCon::close: not open\n"
              "closed 0\n"
              "1 watched, left open 1\n",
              child.output);
}

TEST_F(FdloopUdpConTest, takesDescriptor1ForOpen)
{
    ChildResult const child = runInChild([this] {
        int const output = dup(STDOUT_FILENO);
        close(STDOUT_FILENO);
        bool const opened = con->open();
        int const socket = fd();
        bool const closed = con->close();
        con.reset();
        bool const left = isDescriptor(socket);
        dup2(output, STDOUT_FILENO);
        printf("opened %d as %d, closed %d, %d watched, left open %d\n", opened, socket, closed,
               loop->fd_count, left);
    });

    EXPECT_EQ("opened 1 as 1, closed 1, 0 watched, left open 0\n", child.output);
}

TEST_F(FdloopUdpConTest, closeEndsReceptionOnly)
{
    sockaddr_in const to = peer.address();
    con->open();
    int const socket = fd();

    EXPECT_EQ("", loggedBy([this] {
                  EXPECT_TRUE(con->close());
                  EXPECT_TRUE(con->close()); // the socket is still there
              }));
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_EQ(1, fdloop_run(loop));
    EXPECT_TRUE(con->transmit(&to, bytesOf("still sent"), 10));
    EXPECT_EQ("still sent", peer.receive());
    con.reset();
    EXPECT_FALSE(isDescriptor(socket));
}

TEST_F(FdloopUdpConTest, closeFailsBeforeOpen)
{
    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::close: not open\n",
              loggedBy([this] { EXPECT_FALSE(con->close()); }));
}

TEST_F(FdloopUdpConTest, destructionEndsTheWatchAndClosesTheSocket)
{
    con->open();
    int const socket = fd();

    EXPECT_EQ("", loggedBy([this] { con.reset(); }));
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_FALSE(isDescriptor(socket));
}

TEST_F(FdloopUdpConTest, destructionLeavesTheOtherConnectionsAlone)
{
    FdloopUdpCon other(loop, 0);
    con->open();
    other.open();
    other.setRxCallBack(appendTo(received));
    auto unopened = std::make_unique<FdloopUdpCon>(loop, 0);
    unopened.reset();
    con.reset();

    EXPECT_EQ(1, loop->fd_count);
    send({"x"});
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"x"}), received);
}

TEST_F(FdloopUdpConTest, transmitsDatagramsOfUpTo1600Bytes)
{
    sockaddr_in const to = peer.address();
    con->open();

    EXPECT_EQ("", loggedBy([&] {
                  for (size_t const size : {0U, 1U, 60U, 1599U, 1600U}) {
                      SCOPED_TRACE(size);
                      uint16_t from = 0;
                      std::string const sent = pattern(size);
                      EXPECT_TRUE(con->transmit(&to, bytesOf(sent), static_cast<unsigned>(size)));
                      EXPECT_EQ(sent, peer.receive(&from));
                      EXPECT_EQ(localPort(fd()), from);
                  }
                  EXPECT_TRUE(con->transmit(&to, nullptr, 0));
                  EXPECT_EQ("", peer.receive());
              }));
}

TEST_F(FdloopUdpConTest, refusesToTransmitMore)
{
    sockaddr_in const to = peer.address();
    std::string const bytes = pattern(1601);
    con->open();

    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::transmit: 1601 bytes do not fit\n",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, bytesOf(bytes), 1601)); }));
    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::transmit: 4294967295 bytes do not fit\n",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, bytesOf(bytes), 0xFFFFFFFF)); }));
    EXPECT_FALSE(peer.hasReceived());
}

TEST_F(FdloopUdpConTest, reportsAFailureToSendTwice)
{
    sockaddr_in broadcast = loopbackAddress(9);
    broadcast.sin_addr.s_addr = inet_addr("127.255.255.255"); // needs an option that is not set
    con->open();

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 13: Permission denied"
              "09:05:07   DEBUG: UdpCon::transmit: sendto failed errno 13",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&broadcast, bytesOf("abc"), 3)); }));
}

TEST_F(FdloopUdpConTest, transmitFailsBeforeOpen)
{
    sockaddr_in const to = peer.address();

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 9: Bad file descriptor"
              "09:05:07   DEBUG: UdpCon::transmit: sendto failed errno 9",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, bytesOf("abc"), 3)); }));
}

TEST_F(FdloopUdpConTest, dropsADatagramThatTheKernelCannotTakeAtOnce)
{
    sockaddr_in const to = peer.address();
    con->open();

    EXPECT_EQ("", loggedBy([&] {
                  Failing const failing(SystemCall::SENDTO, EAGAIN);
                  EXPECT_TRUE(con->transmit(&to, bytesOf("abc"), 3));
              }));
    EXPECT_FALSE(peer.hasReceived());
}

/* Reception */

class FdloopUdpConRx : public FdloopUdpConTest
{
protected:
    FdloopUdpConRx() { con->open(); }
};

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

TEST_F(FdloopUdpConRx, theCallbackMayTransmit)
{
    con->setRxCallBack([this](sockaddr const* from, unsigned char const* data, unsigned int len) {
        sockaddr_in const to = internetAddress(from);
        EXPECT_TRUE(con->transmit(&to, data, len));
    });
    send({"a", "b"});
    con->rxDataReady();

    EXPECT_EQ("a", peer.receive());
    EXPECT_EQ("b", peer.receive());
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

/* The periodic callback */

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
        peer.send("x", fd);
        con->rxDataReady();
        other.rxDataReady();
    }

    EXPECT_EQ((Texts{"other x", "other x"}), received);
}

/* The bind guard */

class TestGuard : public WaitPoint
{
public:
    void start() override {}
};

class FdloopUdpConGuard : public FdloopUdpConTest
{
protected:
    FdloopUdpConGuard() { con->setBindGuard(guard); }

    std::shared_ptr<TestGuard> guard = std::make_shared<TestGuard>();
};

TEST_F(FdloopUdpConGuard, holdsTheBindBackUntilItIsReached)
{
    EXPECT_TRUE(con->open());
    EXPECT_EQ(1, loop->fd_count);
    EXPECT_EQ(0, localPort(fd()));

    EXPECT_TRUE(guard->call());
    EXPECT_NE(0, localPort(fd()));
    con->setRxCallBack(appendTo(received));
    send({"x"});
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"x"}), received);
}

TEST_F(FdloopUdpConGuard, reachedBeforeOpenBindsAtOnce)
{
    EXPECT_FALSE(guard->call());
    EXPECT_TRUE(con->open());
    EXPECT_NE(0, localPort(fd()));
}

TEST_F(FdloopUdpConGuard, setAfterOpenDoesNotMatterAnyMore)
{
    FdloopUdpCon unguarded(loop, 0);
    unguarded.open();
    uint16_t const port = localPort(fd());
    unguarded.setBindGuard(guard);

    EXPECT_FALSE(guard->call());
    EXPECT_EQ(port, localPort(fd()));
}

TEST_F(FdloopUdpConGuard, returnsTheResultOfTheBind)
{
    FdloopUdpCon onTakenPort(loop, peer.port());
    onTakenPort.setBindGuard(guard);
    EXPECT_TRUE(onTakenPort.open());

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}

TEST_F(FdloopUdpConGuard, openSucceedsThoughTheBindOfAReachedGuardFails)
{
    FdloopUdpCon onTakenPort(loop, peer.port());
    onTakenPort.setBindGuard(guard);
    guard->call();

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([&] { EXPECT_TRUE(onTakenPort.open()); }));
}

TEST_F(FdloopUdpConGuard, thatIsReplacedIsReleasedAndDoesNotMatter)
{
    con->setBindGuard(nullptr);
    EXPECT_EQ(1, guard.use_count());
    EXPECT_TRUE(con->open());
    EXPECT_NE(0, localPort(fd()));
    EXPECT_FALSE(guard->call());
}

TEST_F(FdloopUdpConGuard, reachedAfterTheDestructionDoesNothing)
{
    con->open();
    con.reset();

    EXPECT_EQ(1, guard.use_count());
    EXPECT_EQ("", loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}

TEST_F(FdloopUdpConGuard, thatWasReplacedAfterOpenDoesNothingAfterTheDestruction)
{
    con->open();
    con->setBindGuard(nullptr);
    con.reset();

    EXPECT_EQ("", loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}

TEST_F(FdloopUdpConTest, aFactoryTakesMemoryOncePerConnection)
{
    FdloopUdpConFactory const factory(loop, 0);
    unsigned const before = allocationCount();
    auto const made = factory.create();
    EXPECT_EQ(before + 1, allocationCount());
}

TEST_F(FdloopUdpConTest, aFactoryMakesUnopenedConnectionsForItsPort)
{
    FdloopUdpConFactory const factory(loop, peer.port());
    std::shared_ptr<IUdpCon> const first = factory.create();
    std::shared_ptr<IUdpCon> const second = factory.create();

    EXPECT_NE(first, second);
    EXPECT_EQ(1, first.use_count());
    EXPECT_EQ(0, loop->fd_count);
    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98", // its port is the peer's
              loggedBy([&] { EXPECT_FALSE(first->open()); }));

    std::shared_ptr<IUdpCon> const anyPort = FdloopUdpConFactory(loop, 0).create();
    EXPECT_TRUE(anyPort->open());
    EXPECT_NE(0, localPort(fd()));
}
