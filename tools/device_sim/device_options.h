#ifndef DEVICE_SIM_DEVICE_OPTIONS_H
#define DEVICE_SIM_DEVICE_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include "device_sim/faults.h"
#include "device_sim/simulation_time.h"
#include "device_sim/stream.h"

struct DeviceOptions
{
    std::string bindAddress = "0.0.0.0";
    uint16_t port = 0; // the system chooses

    Stream::Settings stream;
    Faults::Settings faults;
    bool isPaced = true;
    uint64_t burst = 1; // records sent back to back

    uint64_t receiveCount = UNLIMITED; // end after so many datagrams
    int64_t idleTimeout = NEVER;       // end so long after the last datagram

    std::string dumpFile;   // none if empty, as below
    std::string jsonFile;   // "-" is the standard output; the text then goes to standard error
    std::string expectFile; // the log whose replay is to come in
};

/// Fills `options`. If the program must end, prints the help or what is wrong, and returns the exit
/// status.
std::optional<int> parseOptions(int argc, char** argv, DeviceOptions& options);

#endif
