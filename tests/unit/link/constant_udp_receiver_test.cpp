#include "constant_udp_receiver.h"

#include <memory>

#include <gtest/gtest.h>

#include "captured_output.h"

static constexpr unsigned char GREETING[] = {0x68, 0x65, 0x6A, 0x00};

TEST(ConstantUdpReceiver, isAlwaysReadyWithItsAddress)
{
    auto const address = std::make_shared<sockaddr_in>();
    ConstantUdpReceiver receiver(address);

    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(receiver.isReceiverReady());
        EXPECT_EQ(address.get(), receiver.getReceiverAddress());
    }
}

TEST(ConstantUdpReceiver, isNeverReadyWithoutAnAddress)
{
    ConstantUdpReceiver receiver(nullptr);
    sockaddr_in greeter = {};
    greeter.sin_family = AF_INET;

    EXPECT_FALSE(receiver.isReceiverReady());
    EXPECT_EQ(nullptr, receiver.getReceiverAddress());
    receiver.received(reinterpret_cast<sockaddr const*>(&greeter), GREETING, sizeof GREETING);
    EXPECT_FALSE(receiver.isReceiverReady());
    EXPECT_EQ(nullptr, receiver.getReceiverAddress());
}

TEST(ConstantUdpReceiver, ignoresWhatArrives)
{
    auto const address = std::make_shared<sockaddr_in>();
    ConstantUdpReceiver receiver(address);
    sockaddr_in greeter = {};
    greeter.sin_family = AF_INET6;

    EXPECT_EQ("", capturedOutput([&] {
                  receiver.received(reinterpret_cast<sockaddr const*>(&greeter), GREETING,
                                    sizeof GREETING);
                  receiver.received(nullptr, nullptr, 0);
              }));
    EXPECT_TRUE(receiver.isReceiverReady());
    EXPECT_EQ(address.get(), receiver.getReceiverAddress());
}

TEST(ConstantUdpReceiver, sharesItsAddress)
{
    auto address = std::make_shared<sockaddr_in>();
    std::weak_ptr<sockaddr_in> const observed = address;
    {
        ConstantUdpReceiver const receiver(address);
        address.reset();
        EXPECT_FALSE(observed.expired());
    }
    EXPECT_TRUE(observed.expired());
}
