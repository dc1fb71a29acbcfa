#ifndef DEVICE_SIM_TRANSMITTER_H
#define DEVICE_SIM_TRANSMITTER_H

#include <cstdint>
#include <fstream>
#include <string>

#include "device_sim/datagram.h"
#include "device_sim/device_socket.h"
#include "device_sim/faults.h"
#include "record_list.h"

/// What was sent. A record cut short counts as an extra only, a padded one as both.
struct SentCounts
{
    PerType<uint64_t> records = {};
    uint64_t unknown = 0;
    uint64_t empty = 0;
    uint64_t padded = 0;
    uint64_t cut = 0;
    uint64_t failed = 0; // could not be sent; counted nowhere else
};

/// Sends records, and makes the mistakes of a device on the way.
class Transmitter
{
public:
    /// Without a dump file none is written. Throws std::system_error when it cannot be created.
    Transmitter(DeviceSocket const& socket, Faults const& faults, std::string const& dumpFile);

    void send(sockaddr_in const& to, DueRecord const& record);

    /// Writes out the dump file; throws std::runtime_error when it is incomplete.
    void finish();

    /// Records handed over, whatever became of them.
    uint64_t records() const { return m_records; }
    SentCounts const& counts() const { return m_counts; }

private:
    bool transmit(sockaddr_in const& to, Datagram const& datagram, uint64_t& count);
    void dump(Datagram const& datagram);

    DeviceSocket const& m_socket;
    Faults m_faults;
    std::string m_dumpFile;
    std::ofstream m_dump;
    uint64_t m_records = 0;
    SentCounts m_counts;
};

#endif
