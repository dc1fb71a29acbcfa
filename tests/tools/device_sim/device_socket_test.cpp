#include "device_sim/device_socket.h"

#include <ctime>
#include <stdexcept>
#include <system_error>

#include <gtest/gtest.h>

#include "loopback_peer.h"
#include "no_descriptors.h"

static std::string textOf(DeviceSocket::Reception const& reception)
{
    return {reception.bytes.begin(), reception.bytes.begin() + static_cast<long>(reception.size)};
}

TEST(DeviceSocket, receivesDatagramsOneByOneAndTellsTheirSender)
{
    DeviceSocket const socket("127.0.0.1", 0);
    LoopbackPeer const peer;
    peer.sendToSocket(socket.fd(), "one");
    peer.sendToSocket(socket.fd(), "");

    DeviceSocket::Reception reception;
    ASSERT_TRUE(socket.receive(reception));
    EXPECT_EQ("one", textOf(reception));
    EXPECT_EQ(peer.address().sin_port, reception.from.sin_port);
    EXPECT_EQ(peer.address().sin_addr.s_addr, reception.from.sin_addr.s_addr);
    ASSERT_TRUE(socket.receive(reception));
    EXPECT_EQ("", textOf(reception));
    EXPECT_FALSE(socket.receive(reception)); // nothing waits
}

TEST(DeviceSocket, tellsWhenTheKernelTookADatagram)
{
#if defined(__arm__) || defined(__aarch64__)
    GTEST_SKIP() << "the emulator that runs ARM code here does not pass the kernel's times on";
#endif
    DeviceSocket const socket("127.0.0.1", 0);
    LoopbackPeer const peer;
    timespec before = {};
    timespec after = {};
    clock_gettime(CLOCK_REALTIME, &before);
    peer.sendToSocket(socket.fd(), "x");
    clock_gettime(CLOCK_REALTIME, &after);

    DeviceSocket::Reception reception;
    ASSERT_TRUE(socket.receive(reception));
    EXPECT_GE(reception.time / 1'000'000'000, before.tv_sec);
    EXPECT_LE(reception.time / 1'000'000'000, after.tv_sec);
}

TEST(DeviceSocket, cutsADatagramToItsBuffer)
{
    DeviceSocket const socket("127.0.0.1", 0);
    LoopbackPeer const peer;
    peer.sendToSocket(socket.fd(), std::string(5000, 'x'));
    DeviceSocket::Reception reception;
    ASSERT_TRUE(socket.receive(reception));
    EXPECT_EQ(std::string(2048, 'x'), textOf(reception));
}

TEST(DeviceSocket, sendsFromItsPort)
{
    DeviceSocket const socket("127.0.0.1", 0);
    LoopbackPeer peer;
    EXPECT_TRUE(socket.send(peer.address(), "abc", 3));
    EXPECT_EQ("abc", peer.receiveText());
    EXPECT_EQ(socket.port(), ntohs(peer.sender().sin_port));
}

TEST(DeviceSocket, tellsThatItCouldNotSend)
{
    DeviceSocket const socket("127.0.0.1", 0);
    sockaddr_in const nobody = loopbackAddress(0);
    EXPECT_FALSE(socket.send(nobody, "abc", 3));
}

TEST(DeviceSocket, isRefusedOnWhatIsNoFreeAddress)
{
    LoopbackPeer const peer;
    EXPECT_THROW(DeviceSocket("nowhere", 0), std::invalid_argument);
    EXPECT_THROW(DeviceSocket("127.0.0.1", peer.port()), std::system_error);
    NoDescriptors const noDescriptors;
    EXPECT_THROW(DeviceSocket("127.0.0.1", 0), std::system_error);
}
