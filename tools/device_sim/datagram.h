#ifndef DEVICE_SIM_DATAGRAM_H
#define DEVICE_SIM_DATAGRAM_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

/// What goes into one UDP datagram.
struct Datagram
{
    std::array<unsigned char, 128> bytes = {};
    size_t size = 0;

    template <size_t Size>
    static Datagram of(std::array<unsigned char, Size> const& from)
    {
        Datagram datagram;
        static_assert(Size <= sizeof datagram.bytes);
        std::copy(from.begin(), from.end(), datagram.bytes.begin());
        datagram.size = Size;
        return datagram;
    }
};

/// A record's datagram, ready to be sent when it is due.
struct DueRecord
{
    int64_t due;  // of the stream
    size_t index; // of the record's type
    Datagram datagram;
};

#endif
