// The input is what happens to a receiver of hellos, step by step: a letter, a count, and for a
// datagram that many bytes.

#include <cstring>
#include <string>

#include "acknowledge_udp_receiver.h"
#include "broken_invariant.h"
#include "byte_source.h"
#include "console.h"
#include "require.h"

namespace
{

/// What the receiver must do.
struct Expected
{
    unsigned budget = 0;
    sockaddr_in address = {};
    std::string text;
    int line = 0;
};

}

static bool isGreeting(ExactBytes const& datagram)
{
    return datagram.size() >= 4 && memcmp(datagram.data(), "hej", 4) == 0;
}

static sockaddr_in senderOf(uint8_t kind, uint16_t number)
{
    sockaddr_in sender = {};
    sender.sin_family = kind == 'i' ? static_cast<sa_family_t>(AF_INET) : number;
    sender.sin_port = number;
    sender.sin_addr.s_addr = ~uint32_t{number};
    return sender;
}

static Expected afterDatagram(Expected expected, sockaddr_in const* sender,
                              ExactBytes const& datagram)
{
    if (!sender) {
        expected.line = 13;
    } else if (sender->sin_family != AF_INET) {
        expected.text =
            "   DEBUG: received: Not a IP4 packet " + std::to_string(sender->sin_family);
    } else if (isGreeting(datagram)) {
        expected.budget = 100;
        expected.address = *sender;
    }
    return expected;
}

static std::string withoutTime(std::string const& text)
{
    return text.substr(std::min<size_t>(text.size(), strlen("09:05:07")));
}

static void requireState(AcknowledgeUdpReceiver const& receiver, Expected const& expected)
{
    require(receiver.isReceiverReady() == (expected.budget > 0),
            "the receiver is ready for 100 records after a greeting");
}

static Expected offer(AcknowledgeUdpReceiver& receiver, sockaddr_in const* sender,
                      ExactBytes const& datagram, Expected const& before)
{
    Expected expected = afterDatagram(before, sender, datagram);
    int const line = brokenLine("acknowledge_udp_receiver", [&] {
        receiver.received(reinterpret_cast<sockaddr const*>(sender), datagram.data(),
                          static_cast<unsigned>(datagram.size()));
    });

    require(line == expected.line, "only a missing sender panics");
    require(withoutTime(takeOutput()) == expected.text, "only another family is logged");
    expected.text.clear();
    expected.line = 0;
    return expected;
}

static Expected spend(AcknowledgeUdpReceiver& receiver, unsigned count, Expected expected)
{
    for (; count > 0 && receiver.isReceiverReady(); --count) {
        sockaddr_in const* const address = receiver.getReceiverAddress();
        require(memcmp(address, &expected.address, sizeof *address) == 0,
                "records go to the latest greeter");
        require(expected.budget-- > 0, "no greeting grants more than 100 records");
    }
    return expected;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    ByteSource input(data, size);
    AcknowledgeUdpReceiver receiver;
    Expected expected;

    requireState(receiver, expected);
    for (uint16_t number = 0; !input.empty(); ++number) {
        auto const kind = input.number<uint8_t>();
        auto const count = input.number<uint8_t>();
        sockaddr_in const sender = senderOf(kind, number);
        if (kind == 'i' || kind == 'o')
            expected = offer(receiver, &sender, input.bytes(count), expected);
        else if (kind == '0')
            expected = offer(receiver, nullptr, input.bytes(count), expected);
        else
            expected = spend(receiver, count, expected);
        requireState(receiver, expected);
    }
    return 0;
}
