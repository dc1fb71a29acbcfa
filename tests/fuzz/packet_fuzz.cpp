// The input is a datagram from the device. Judged is what the controller does with it.

#include "broken_invariant.h"
#include "outlet.h"
#include "playback_controller.h"

// The check that a datagram fails. A device that sends one is broken.
static int expectedLine(uint8_t const* data, size_t size)
{
    if (size < HEADER_SIZE)
        return 22;
    size_t const payload = payloadSize(data[0]);
    return payload != 0 && size < HEADER_SIZE + payload ? 28 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    static PlaybackController controller(nullptr);
    static Outlet outlet(controller);

    int const line = brokenLine("playback_controller", [=] {
        controller.received(nullptr, data, static_cast<unsigned>(size));
    });

    require(line == expectedLine(data, size), "only broken datagrams panic, each as documented");
    if (line != 0 || payloadSize(data[0]) == 0)
        outlet.requireNothing();
    else
        outlet.requireOnly(data[0], inOtherByteOrder(data[0], data + HEADER_SIZE));
    return 0;
}
