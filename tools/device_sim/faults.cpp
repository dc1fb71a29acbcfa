#include "device_sim/faults.h"

#include <algorithm>

void Faults::cut(Datagram& datagram) const
{
    datagram.size =
        static_cast<size_t>(std::min(static_cast<uint64_t>(datagram.size - 1), m_settings.shortTo));
}

void Faults::pad(Datagram& datagram)
{
    static constexpr size_t PADDING = 16;
    static constexpr unsigned char FILLER = 0xA5;

    size_t const size = std::min(datagram.size + PADDING, datagram.bytes.size());
    std::fill(datagram.bytes.begin() + static_cast<ptrdiff_t>(datagram.size),
              datagram.bytes.begin() + static_cast<ptrdiff_t>(size), FILLER);
    datagram.size = size;
}

Datagram Faults::unknown(uint64_t number)
{
    static constexpr unsigned char TYPE = 0x7F;
    static constexpr unsigned char SIZE = 24;

    std::array<unsigned char, SIZE> bytes = {TYPE, 1, SIZE, 0};
    for (size_t i = 4; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(number + i);
    return Datagram::of(bytes);
}
