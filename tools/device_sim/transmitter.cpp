#include "device_sim/transmitter.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

Transmitter::Transmitter(DeviceSocket const& socket, Faults const& faults,
                         std::string const& dumpFile)
    : m_socket(socket),
      m_faults(faults),
      m_dumpFile(dumpFile)
{
    if (m_dumpFile.empty())
        return;
    m_dump.open(m_dumpFile, std::ios::binary | std::ios::trunc);
    if (!m_dump)
        throw std::system_error(errno, std::generic_category(), "cannot write " + m_dumpFile);
}

void Transmitter::send(sockaddr_in const& to, DueRecord const& record)
{
    uint64_t const number = ++m_records;
    Datagram datagram = record.datagram;

    if (m_faults.isShort(number)) {
        m_faults.cut(datagram);
        transmit(to, datagram, m_counts.cut);
    } else {
        bool const isPadded = m_faults.isLong(number);
        if (isPadded)
            Faults::pad(datagram);
        if (transmit(to, datagram, m_counts.records[record.index]) && isPadded)
            ++m_counts.padded;
    }
    if (m_faults.isUnknownNext(number))
        transmit(to, Faults::unknown(number), m_counts.unknown);
    if (m_faults.isEmptyNext(number))
        transmit(to, {}, m_counts.empty);
}

bool Transmitter::transmit(sockaddr_in const& to, Datagram const& datagram, uint64_t& count)
{
    if (!m_socket.send(to, datagram.bytes.data(), datagram.size)) {
        ++m_counts.failed;
        return false;
    }
    ++count;
    if (m_dump.is_open())
        dump(datagram);
    return true;
}

void Transmitter::dump(Datagram const& datagram)
{
    char const size[] = {static_cast<char>(datagram.size & 0xFF),
                         static_cast<char>(datagram.size >> 8)};
    m_dump.write(size, sizeof size);
    m_dump.write(reinterpret_cast<char const*>(datagram.bytes.data()),
                 static_cast<std::streamsize>(datagram.size));
}

void Transmitter::finish()
{
    if (!m_dump.is_open())
        return;
    m_dump.close();
    if (!m_dump)
        throw std::runtime_error("cannot write all of " + m_dumpFile);
}
