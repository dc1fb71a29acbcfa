#ifndef LINK_UDP_PACKET_ANALYZER_H
#define LINK_UDP_PACKET_ANALYZER_H

#include "packet_codec.h"
#include "tt_panic.h"

/// Recognises the datagrams of one record type and decodes them. Its panics name
/// playback_controller, the unit that users know.
template <class T>
class IUdpPacketAnalyzer
{
public:
    virtual ~IUdpPacketAnalyzer() = default;

    /// Panics when `len` is shorter than a header.
    virtual bool isType(void const* data, unsigned int len) const = 0;

    /// Panics when the datagram is of another type or shorter than its type. Ignores bytes after
    /// the payload: the device may pad its datagrams.
    virtual T getData(void const* data, unsigned int len) const = 0;
};

template <class T>
class UdpPacketAnalyzer : public IUdpPacketAnalyzer<T>
{
public:
    bool isType(void const* data, unsigned int len) const override
    {
        if (len < PACKET_HEADER_SIZE)
            tt_assert_failed("playback_controller", 22);
        return *static_cast<unsigned char const*>(data) == RecordType<T>::CODE;
    }

    T getData(void const* data, unsigned int len) const override
    {
        if (!isType(data, len))
            tt_assert_failed("playback_controller", 27);
        if (len < packetSize<T>())
            tt_assert_failed("playback_controller", 28);
        return decodePacket<T>(static_cast<unsigned char const*>(data));
    }
};

#endif
