#include "device_sim/device.h"

#include <csignal>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "child_process.h"
#include "loopback_peer.h"
#include "sample_records.h"

namespace
{

/// A device on a port of its own. It streams ImuData, as fast as it can.
class DeviceTest : public testing::Test
{
protected:
    DeviceTest()
    {
        options.isPaced = false;
        options.stream.schedule.rates = {100.0, 0.0, 0.0, 0.0, 0.0};
    }

    void run()
    {
        Device device(options, socket, transmitter, receiver);
        device.run();
    }

    DeviceOptions options;
    DeviceSocket socket{"127.0.0.1", 0};
    Transmitter transmitter{socket, Faults({}), ""};
    Receiver receiver{std::nullopt};
    LoopbackPeer peer;
    std::string const hello{"hej\0", 4};
};

}

TEST_F(DeviceTest, answersAGreetingWithItsStream)
{
    options.stream.count = 3;
    peer.sendToSocket(socket.fd(), hello);
    run();

    for (unsigned stamp : {1000U, 1010U, 1020U}) {
        Bytes const datagram = peer.receive();
        ASSERT_EQ(36U, datagram.size());
        EXPECT_EQ(stamp, datagram[6] * 256U + datagram[7]);
    }
    EXPECT_FALSE(peer.hasDatagram());
    EXPECT_EQ(1U, receiver.report().hellos);
}

TEST_F(DeviceTest, keepsToItsPaceAndEndsAfterItsDuration)
{
    options.isPaced = true;
    options.stream.duration = 50 * NS_PER_MS;
    peer.sendToSocket(socket.fd(), hello);
    run();
    EXPECT_EQ(5U, transmitter.records());
}

TEST_F(DeviceTest, endsAfterAsManyDatagramsAsItWasToReceive)
{
    options.receiveCount = 2;
    for (int i = 0; i < 3; ++i)
        peer.sendTo(loopbackAddress(socket.port()), Sample<ImuData>::PACKET);
    run();
    EXPECT_EQ(2U, receiver.datagrams());
    EXPECT_EQ(2U, receiver.report().total.count);
    EXPECT_EQ(0U, transmitter.records()); // nobody has greeted
}

TEST_F(DeviceTest, endsWhenNothingMoreComesIn)
{
    options.idleTimeout = 20 * NS_PER_MS;
    peer.sendTo(loopbackAddress(socket.port()), Sample<ImuData>::PACKET);
    run();
    EXPECT_EQ(1U, receiver.datagrams());
}

TEST_F(DeviceTest, endsOnASignal)
{
    for (int const signal : {SIGINT, SIGTERM}) {
        ChildResult const child = runInChild([&] {
            onceAsleep([signal](pid_t device) { kill(device, signal); });
            run();
            puts("ended");
        });
        EXPECT_EQ("ended\n", child.output);
        EXPECT_EQ(0, child.exitCode());
    }
}
