#include "xdr.h"

#include <cstring>

#include <rpc/rpc.h>

#include "tt_panic.h"

void Xdr::floatToNet(float value, unsigned char* out)
{
    XDR stream;

    xdrmem_create(&stream, m_net, NET_SIZE, XDR_ENCODE);
    if (!xdr_float(&stream, &value))
        tt_assert_failed("xdr", 19);
    if (xdr_getpos(&stream) != NET_SIZE)
        tt_assert_failed("xdr", 20);
    memcpy(out, m_net, NET_SIZE);
}

void Xdr::netToFloat(unsigned char const* in, float& value)
{
    XDR stream;

    memcpy(m_net, in, NET_SIZE);
    xdrmem_create(&stream, m_net, NET_SIZE, XDR_DECODE);
    if (!xdr_float(&stream, &value))
        tt_assert_failed("xdr", 29);
    if (xdr_getpos(&stream) != NET_SIZE)
        tt_assert_failed("xdr", 30);
}
