#include "acknowledge_udp_receiver.h"

#include <cstring>

#include "hello.h"
#include "tt_panic.h"
#include "tt_slog.h"

bool AcknowledgeUdpReceiver::isReceiverReady() const
{
    return m_sendCount < RECORDS_PER_GREETING;
}

void AcknowledgeUdpReceiver::received(sockaddr const* from, unsigned char const* data,
                                      unsigned int len)
{
    if (!from)
        tt_assert_failed("acknowledge_udp_receiver", 13);
    if (from->sa_family != AF_INET) {
        tt_slog(TT_SLOG_DEBUG, "%s: Not a IP4 packet %d", "received", from->sa_family);
        return;
    }
    if (len < sizeof HELLO || memcmp(data, HELLO, sizeof HELLO) != 0)
        return;

    m_sendCount = 0;
    memcpy(&m_address, from, sizeof m_address);
}

sockaddr_in const* AcknowledgeUdpReceiver::getReceiverAddress()
{
    ++m_sendCount;
    return &m_address;
}
