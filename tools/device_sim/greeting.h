#ifndef DEVICE_SIM_HELLO_H
#define DEVICE_SIM_HELLO_H

#include <cstddef>
#include <cstring>

/// Whether the datagram is the greeting that asks the device to stream: these 4 bytes, no more.
inline bool isHello(unsigned char const* data, size_t size)
{
    static constexpr unsigned char HELLO[] = {'h', 'e', 'j', '\0'};
    return size == sizeof HELLO && memcmp(data, HELLO, sizeof HELLO) == 0;
}

#endif
