#ifndef DEVICE_SIM_GREETING_H
#define DEVICE_SIM_GREETING_H

#include <cstddef>
#include <cstring>

#include "hello.h"

/// Whether the datagram is exactly the hello that asks the device to stream.
inline bool isHello(unsigned char const* data, size_t size)
{
    return size == sizeof HELLO && memcmp(data, HELLO, sizeof HELLO) == 0;
}

#endif
