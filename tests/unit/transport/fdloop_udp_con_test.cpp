#include "fdloop_udp_con.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "allocations.h"
#include "child_process.h"
#include "fdloop_udp_con_factory.h"
#include "fdloop_udp_con_fixture.h"
#include "logged_output.h"
#include "no_descriptors.h"
#include "socket_doubles.h"
#include "system_doubles.h"
#include "text_bytes.h"

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
    EXPECT_TRUE(con->transmit(&to, dataOf("still sent"), 10));
    EXPECT_EQ("still sent", peer.receiveText());
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
                      std::string const sent = pattern(size);
                      EXPECT_TRUE(con->transmit(&to, dataOf(sent), static_cast<unsigned>(size)));
                      EXPECT_EQ(sent, peer.receiveText());
                      EXPECT_EQ(localPort(fd()), ntohs(peer.sender().sin_port));
                  }
                  EXPECT_TRUE(con->transmit(&to, nullptr, 0));
                  EXPECT_EQ("", peer.receiveText());
              }));
}

TEST_F(FdloopUdpConTest, refusesToTransmitMore)
{
    sockaddr_in const to = peer.address();
    std::string const bytes = pattern(1601);
    con->open();

    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::transmit: 1601 bytes do not fit\n",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, dataOf(bytes), 1601)); }));
    EXPECT_EQ("09:05:07 WARNING: FdloopUdpCon::transmit: 4294967295 bytes do not fit\n",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, dataOf(bytes), 0xFFFFFFFF)); }));
    EXPECT_FALSE(peer.hasDatagram());
}

TEST_F(FdloopUdpConTest, reportsAFailureToSendTwice)
{
    sockaddr_in broadcast = loopbackAddress(9);
    broadcast.sin_addr.s_addr = inet_addr("127.255.255.255"); // needs an option that is not set
    con->open();

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 13: Permission denied"
              "09:05:07   DEBUG: UdpCon::transmit: sendto failed errno 13",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&broadcast, dataOf("abc"), 3)); }));
}

TEST_F(FdloopUdpConTest, transmitFailsBeforeOpen)
{
    sockaddr_in const to = peer.address();

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 9: Bad file descriptor"
              "09:05:07   DEBUG: UdpCon::transmit: sendto failed errno 9",
              loggedBy([&] { EXPECT_FALSE(con->transmit(&to, dataOf("abc"), 3)); }));
}

TEST_F(FdloopUdpConTest, dropsADatagramThatTheKernelCannotTakeAtOnce)
{
    sockaddr_in const to = peer.address();
    con->open();

    EXPECT_EQ("", loggedBy([&] {
                  Failing const failing(SystemCall::SENDTO, EAGAIN);
                  EXPECT_TRUE(con->transmit(&to, dataOf("abc"), 3));
              }));
    EXPECT_FALSE(peer.hasDatagram());
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
