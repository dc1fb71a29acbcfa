#include "acknowledge_udp_receiver.h"

#include <csignal>
#include <string>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "captured_output.h"
#include "child_process.h"
#include "sample_records.h"

static Bytes const GREETING = {0x68, 0x65, 0x6A, 0x00};
static constexpr int BUDGET = 100;

static sockaddr_in addressOf(char const* host, uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    address.sin_port = htons(port);
    return address;
}

static sockaddr_in const FIRST = addressOf("1.2.3.4", 0x1234);
static sockaddr_in const SECOND = addressOf("5.6.7.8", 0x5678);

static void offer(AcknowledgeUdpReceiver& receiver, sockaddr_in const& from, Bytes const& datagram)
{
    // A block of exactly its size: a read past its end is one past the block's.
    Bytes const block(datagram.begin(), datagram.end());
    receiver.received(reinterpret_cast<sockaddr const*>(&from), block.data(),
                      static_cast<unsigned>(block.size()));
}

/// Expects that the receiver gives out this address exactly `count` times.
static void expectBudget(int count, sockaddr_in const& address, AcknowledgeUdpReceiver& receiver)
{
    for (int i = 0; i < count; ++i) {
        EXPECT_TRUE(receiver.isReceiverReady()) << i;
        EXPECT_EQ(bytesOf(address), bytesOf(*receiver.getReceiverAddress())) << i;
    }
    EXPECT_FALSE(receiver.isReceiverReady());
}

TEST(AcknowledgeUdpReceiver, isNotReadyBeforeTheFirstHello)
{
    AcknowledgeUdpReceiver receiver;
    EXPECT_FALSE(receiver.isReceiverReady());
    EXPECT_EQ(Bytes(16, 0), bytesOf(*receiver.getReceiverAddress()));
    EXPECT_FALSE(receiver.isReceiverReady());
}

TEST(AcknowledgeUdpReceiver, becomesReadyOnHellosOnly)
{
    struct
    {
        char const* name;
        Bytes datagram;
        bool ready;
    } const cases[] = {
        {"greeting", GREETING, true},
        {"greeting and a byte", {0x68, 0x65, 0x6A, 0x00, 0x78}, true},
        {"greeting padded to a minimal frame",
         [] {
             Bytes padded = GREETING;
             padded.resize(18, 0);
             return padded;
         }(),
         true},
        {"greeting without its zero byte", {0x68, 0x65, 0x6A}, false},
        {"exclamation mark", {0x68, 0x65, 0x6A, 0x21}, false},
        {"exclamation mark before the zero byte", {0x68, 0x65, 0x6A, 0x21, 0x00}, false},
        {"two letters", {0x68, 0x65}, false},
        {"two letters and zero bytes", {0x68, 0x65, 0x00, 0x00}, false},
        {"upper case", {0x48, 0x45, 0x4A, 0x00}, false},
        {"blank in front", {0x20, 0x68, 0x65, 0x6A, 0x00}, false},
        {"zero byte in front", {0x00, 0x68, 0x65, 0x6A, 0x00}, false},
        {"nothing", {}, false},
        {"record", toBytes(Sample<GenericData>::PACKET), false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        AcknowledgeUdpReceiver receiver;
        EXPECT_EQ("", capturedOutput([&] { offer(receiver, FIRST, c.datagram); }));
        EXPECT_EQ(c.ready, receiver.isReceiverReady());
    }
}

TEST(AcknowledgeUdpReceiver, grantsAHundredRecordsToWhoSaysHello)
{
    AcknowledgeUdpReceiver receiver;
    offer(receiver, FIRST, GREETING);
    expectBudget(BUDGET, FIRST, receiver);

    EXPECT_EQ(bytesOf(FIRST), bytesOf(*receiver.getReceiverAddress())) << "address not kept";
    EXPECT_FALSE(receiver.isReceiverReady());
}

TEST(AcknowledgeUdpReceiver, restoresTheWholeBudgetWithEveryHelloForItsSender)
{
    // One that is left, one that is used up, and one that was asked for more than its records.
    for (int const spent : {1, BUDGET, BUDGET + 7}) {
        SCOPED_TRACE(spent);
        AcknowledgeUdpReceiver receiver;
        offer(receiver, FIRST, GREETING);
        for (int i = 0; i < spent; ++i)
            receiver.getReceiverAddress();

        offer(receiver, SECOND, GREETING);
        expectBudget(BUDGET, SECOND, receiver);
        offer(receiver, SECOND, GREETING);
        expectBudget(BUDGET, SECOND, receiver);
    }
}

TEST(AcknowledgeUdpReceiver, spendsNothingWhenAskedWhetherItIsReady)
{
    AcknowledgeUdpReceiver receiver;
    offer(receiver, FIRST, GREETING);
    for (int i = 0; i < 2 * BUDGET; ++i)
        EXPECT_TRUE(receiver.isReceiverReady());
    expectBudget(BUDGET, FIRST, receiver);
}

TEST(AcknowledgeUdpReceiver, keepsBudgetAndAddressOnAnyOtherDatagram)
{
    AcknowledgeUdpReceiver receiver;
    offer(receiver, FIRST, GREETING);
    receiver.getReceiverAddress();

    offer(receiver, SECOND, {0x68, 0x65, 0x6A, 0x21});
    offer(receiver, SECOND, {0x68, 0x65, 0x6A});
    expectBudget(BUDGET - 1, FIRST, receiver);
}

TEST(AcknowledgeUdpReceiver, ignoresHellosThatAreNotIPv4)
{
    struct
    {
        sa_family_t family;
        char const* output;
    } const cases[] = {
        {AF_INET6, "   DEBUG: received: Not a IP4 packet 10"},
        {AF_UNIX, "   DEBUG: received: Not a IP4 packet 1"},
        {AF_UNSPEC, "   DEBUG: received: Not a IP4 packet 0"},
        {0x0202, "   DEBUG: received: Not a IP4 packet 514"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.family);
        AcknowledgeUdpReceiver receiver;
        offer(receiver, FIRST, GREETING);
        receiver.getReceiverAddress();
        sockaddr_in other = SECOND;
        other.sin_family = c.family;

        std::string const output = capturedOutput([&] { offer(receiver, other, GREETING); });
        ASSERT_GT(output.size(), 8U); // the time
        EXPECT_EQ(c.output, output.substr(8));
        expectBudget(BUDGET - 1, FIRST, receiver);
    }
}

TEST(AcknowledgeUdpReceiver, panicsWithoutASender)
{
    for (Bytes const& datagram : {GREETING, Bytes{0x00}}) {
        SCOPED_TRACE(testing::PrintToString(datagram));
        ChildResult const result = runInChild([&datagram] {
            AcknowledgeUdpReceiver receiver;
            receiver.received(nullptr, datagram.data(), static_cast<unsigned>(datagram.size()));
        });
        EXPECT_EQ(SIGABRT, result.signal());
        EXPECT_EQ("Panic: *** ASSERT in acknowledge_udp_receiver at 13\n", result.output);
    }
}
