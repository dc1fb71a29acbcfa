#include "udp_socket.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "captured_output.h"
#include "child_process.h"
#include "logged_output.h"
#include "loopback_peer.h"
#include "no_descriptors.h"
#include "socket_doubles.h"
#include "system_doubles.h"
#include "text_bytes.h"
#include "udp_socket_factory.h"

TEST(UdpSocket, isClosedAtFirst)
{
    UdpSocket const socket(0);
    EXPECT_EQ(-1, socket.getFd());
}

TEST(UdpSocket, opensANonBlockingDatagramSocket)
{
    UdpSocket socket(0);
    int type = -1;
    int domain = -1;
    socklen_t size = sizeof type;

    EXPECT_EQ("", loggedBy([&] { EXPECT_TRUE(socket.open()); }));
    ASSERT_GT(socket.getFd(), 0);
    EXPECT_NE(0, fcntl(socket.getFd(), F_GETFL) & O_NONBLOCK);
    getsockopt(socket.getFd(), SOL_SOCKET, SO_TYPE, &type, &size);
    getsockopt(socket.getFd(), SOL_SOCKET, SO_DOMAIN, &domain, &size);
    EXPECT_EQ(SOCK_DGRAM, type);
    EXPECT_EQ(AF_INET, domain);
    EXPECT_EQ(0, localPort(socket.getFd()));
}

TEST(UdpSocket, setsNoOptions)
{
    UdpSocket socket(0);
    socket.open();

    for (int const option : {SO_REUSEADDR, SO_REUSEPORT, SO_BROADCAST}) {
        int value = -1;
        socklen_t size = sizeof value;
        ASSERT_EQ(0, getsockopt(socket.getFd(), SOL_SOCKET, option, &value, &size));
        EXPECT_EQ(0, value) << option;
    }
}

TEST(UdpSocket, bindsToAFreePortOfAllInterfaces)
{
    UdpSocket socket(0);
    socket.open();

    EXPECT_EQ("", loggedBy([&] { EXPECT_TRUE(socket.bind()); }));
    EXPECT_EQ(htonl(INADDR_ANY), localAddress(socket.getFd()).sin_addr.s_addr);
    EXPECT_NE(0, localPort(socket.getFd()));
}

TEST(UdpSocket, bindsToItsPort)
{
    uint16_t port = 0;
    {
        LoopbackPeer const peer;
        port = peer.port();
    }
    UdpSocket socket(port);
    socket.open();

    EXPECT_TRUE(socket.bind());
    EXPECT_EQ(port, localPort(socket.getFd()));
}

TEST(UdpSocket, openFailsWithoutDescriptors)
{
    UdpSocket socket(0);
    ChildResult const child = runInChild([&] {
        FakeRealTime const clock(LOG_TIME);
        NoDescriptors const noDescriptors;
        bool const opened = socket.open();
        printf("|%d %d", opened, socket.getFd());
    });

    EXPECT_EQ("09:05:07   ERROR: open: socket create failed errno 24|0 -1", child.output);
}

TEST(UdpSocket, openFailsWhenTheDescriptorStaysBlocking)
{
    UdpSocket socket(0);
    EXPECT_EQ("09:05:07   ERROR: open: turning NONBLOCKING on failed errno 22", loggedBy([&] {
                  int const next = dup(STDOUT_FILENO); // the lowest free descriptor
                  close(next);
                  Failing const failing(SystemCall::FCNTL_SETFL, EINVAL);
                  EXPECT_FALSE(socket.open());
                  EXPECT_FALSE(isDescriptor(next));
              }));
    EXPECT_EQ(-1, socket.getFd());
}

TEST(UdpSocket, bindFailsWhileClosed)
{
    UdpSocket socket(0);

    EXPECT_EQ("09:05:07   ERROR: bind: socket not open",
              loggedBy([&] { EXPECT_FALSE(socket.bind()); }));
}

TEST(UdpSocket, bindToAPortInUseFailsAndCloses)
{
    LoopbackPeer const peer;
    UdpSocket socket(peer.port());
    socket.open();
    int const fd = socket.getFd();

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([&] { EXPECT_FALSE(socket.bind()); }));
    EXPECT_EQ(-1, socket.getFd());
    EXPECT_FALSE(isDescriptor(fd));
}

TEST(UdpSocket, closesOnce)
{
    UdpSocket socket(0);
    socket.open();
    int const fd = socket.getFd();

    EXPECT_EQ("", loggedBy([&] { EXPECT_TRUE(socket.close()); }));
    EXPECT_EQ(-1, socket.getFd());
    EXPECT_FALSE(isDescriptor(fd));
    EXPECT_EQ("09:05:07 WARNING: UdpSocket::close: not open\n",
              loggedBy([&] { EXPECT_FALSE(socket.close()); }));
}

TEST(UdpSocket, canBeReopened)
{
    UdpSocket socket(0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(socket.open());
        EXPECT_TRUE(socket.bind());
        EXPECT_TRUE(socket.close());
    }
}

TEST(UdpSocket, destructionClosesSilently)
{
    int fd = -1;
    EXPECT_EQ("", loggedBy([&] {
                  UdpSocket socket(0);
                  socket.open();
                  fd = socket.getFd();
                  UdpSocket const closed(0);
              }));
    EXPECT_FALSE(isDescriptor(fd));
}

TEST(UdpSocket, takesDescriptor0ForNotOpen)
{
    ChildResult const child = runInChild([] {
        FakeRealTime const clock(LOG_TIME);
        close(STDIN_FILENO);
        {
            UdpSocket socket(0);
            bool const opened = socket.open();
            printf("opened %d: fd %d\n", opened, socket.getFd());
            bool const bound = socket.bind();
            printf("\nbound %d\n", bound);
            bool const closed = socket.close();
            printf("closed %d\n", closed);
        }
        printf("left open %d\n", isDescriptor(0));
    });

    EXPECT_EQ("opened 1: fd 0\n"
              "09:05:07   ERROR: bind: socket not open\n"
              "bound 0\n"
              "09:05:07 WARNING: UdpSocket::close: not open\n"
              "closed 0\n"
              "left open 1\n",
              child.output);
}

class OpenUdpSocket : public ::testing::Test
{
protected:
    OpenUdpSocket()
    {
        socket.open();
        socket.bind();
    }

    int fd() const { return socket.getFd(); }

    IUdpSocket::message_t messageTo(sockaddr_in const& to, std::string const& bytes)
    {
        IUdpSocket::message_t message = {};
        message.addr = to;
        message.len = static_cast<int32_t>(bytes.size());
        bytes.copy(reinterpret_cast<char*>(message.data), sizeof message.data);
        return message;
    }

    UdpSocket socket{0};
    LoopbackPeer peer;
};

TEST_F(OpenUdpSocket, transmitsOneDatagram)
{
    sockaddr_in const to = peer.address();

    EXPECT_EQ("", loggedBy([&] {
                  for (size_t const size : {0U, 1U, 1600U, 2000U}) {
                      SCOPED_TRACE(size);
                      std::string const sent = pattern(size);
                      EXPECT_TRUE(socket.transmit(&to, dataOf(sent), static_cast<unsigned>(size)));
                      EXPECT_EQ(sent, peer.receiveText());
                      EXPECT_EQ(localPort(fd()), ntohs(peer.sender().sin_port));
                  }
              }));
}

TEST_F(OpenUdpSocket, transmitsTheBytesOfAMessageToItsAddress)
{
    EXPECT_TRUE(socket.transmit(messageTo(peer.address(), "hello")));
    EXPECT_EQ("hello", peer.receiveText());
}

class CountingSocket : public UdpSocket
{
public:
    using UdpSocket::transmit;
    using UdpSocket::UdpSocket;

    bool transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len) override
    {
        port = ntohs(to->sin_port);
        bytes.assign(reinterpret_cast<char const*>(data), len);
        return result;
    }

    uint16_t port = 0;
    std::string bytes;
    bool result = true;
};

TEST_F(OpenUdpSocket, transmitsAMessageThroughTheOtherTransmit)
{
    CountingSocket counting(0);

    for (bool const result : {true, false}) {
        counting.result = result;
        EXPECT_EQ(result, counting.transmit(messageTo(loopbackAddress(1234), "abc")));
        EXPECT_EQ(1234, counting.port);
        EXPECT_EQ("abc", counting.bytes);
    }
}

TEST_F(OpenUdpSocket, dropsADatagramThatTheKernelCannotTakeAtOnce)
{
    sockaddr_in const to = peer.address();

    EXPECT_EQ("", loggedBy([&] {
                  Failing const failing(SystemCall::SENDTO, EAGAIN);
                  EXPECT_TRUE(socket.transmit(&to, dataOf("abc"), 3));
                  EXPECT_TRUE(socket.transmit(messageTo(to, "abc")));
              }));
    EXPECT_FALSE(peer.hasDatagram());
}

TEST_F(OpenUdpSocket, reportsAnyOtherFailureToSend)
{
    sockaddr_in broadcast = loopbackAddress(9);
    broadcast.sin_addr.s_addr = inet_addr("127.255.255.255"); // needs an option that is not set

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 13: Permission denied",
              loggedBy([&] { EXPECT_FALSE(socket.transmit(&broadcast, dataOf("abc"), 3)); }));
    EXPECT_EQ(EACCES, errno);
}

TEST_F(OpenUdpSocket, transmitFailsWhileClosed)
{
    sockaddr_in const to = peer.address();
    socket.close();

    EXPECT_EQ("09:05:07   DEBUG: UdpSocket::transmit: sendto failed errno 9: Bad file descriptor",
              loggedBy([&] { EXPECT_FALSE(socket.transmit(&to, dataOf("abc"), 3)); }));
}

static std::string textOf(IUdpSocket::message_t const& message)
{
    return {reinterpret_cast<char const*>(message.data), static_cast<size_t>(message.len)};
}

TEST_F(OpenUdpSocket, receivesDatagramsInTheOrderOfArrival)
{
    LoopbackPeer const second;
    peer.sendToSocket(fd(), "one");
    second.sendToSocket(fd(), "second");
    peer.sendToSocket(fd(), "");

    IUdpSocket::message_t message = socket.receive();
    EXPECT_EQ("one", textOf(message));
    EXPECT_EQ(AF_INET, message.addr.sin_family);
    EXPECT_EQ(htonl(INADDR_LOOPBACK), message.addr.sin_addr.s_addr);
    EXPECT_EQ(htons(peer.port()), message.addr.sin_port);
    message = socket.receive();
    EXPECT_EQ("second", textOf(message));
    EXPECT_EQ(htons(second.port()), message.addr.sin_port);
    EXPECT_EQ(0, socket.receive().len);
    EXPECT_EQ(-1, socket.receive().len);
}

TEST_F(OpenUdpSocket, receiveReturnsMinus1AtOnceAndSilently)
{
    EXPECT_EQ("", loggedBy([&] {
                  EXPECT_EQ(-1, socket.receive().len);
                  EXPECT_EQ(EAGAIN, errno);
                  socket.close();
                  EXPECT_EQ(-1, socket.receive().len);
                  EXPECT_EQ(EBADF, errno);
              }));
}

TEST_F(OpenUdpSocket, receivesALongDatagramCutTo1600Bytes)
{
    for (size_t const size : {1600U, 1601U, 3000U}) {
        SCOPED_TRACE(size);
        peer.sendToSocket(fd(), pattern(size));
        IUdpSocket::message_t const message = socket.receive();
        EXPECT_EQ(pattern(1600), textOf(message));
        EXPECT_EQ(-1, socket.receive().len); // the rest is gone
    }
}

TEST(UdpSocketFactory, makesClosedSocketsForItsPort)
{
    LoopbackPeer const peer;
    UdpSocketFactory const factory(peer.port());
    std::unique_ptr<IUdpSocket> const socket = factory.create();
    std::unique_ptr<IUdpSocket> const another = factory.create();

    EXPECT_NE(socket, another);
    EXPECT_EQ(-1, socket->getFd());
    ASSERT_TRUE(socket->open());
    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98", // its port is the peer's
              loggedBy([&] { EXPECT_FALSE(socket->bind()); }));

    std::unique_ptr<IUdpSocket> const anyPort = UdpSocketFactory(0).create();
    ASSERT_TRUE(anyPort->open());
    EXPECT_TRUE(anyPort->bind());
}
