#ifndef DEVICE_SIM_DEVICE_H
#define DEVICE_SIM_DEVICE_H

#include <cstdint>
#include <vector>

#include <netinet/in.h>

#include "device_sim/device_options.h"
#include "device_sim/device_socket.h"
#include "device_sim/receiver.h"
#include "device_sim/stream.h"
#include "device_sim/transmitter.h"

/// The running device: answers hellos with the stream, and receives what a replay sends.
class Device
{
public:
    /// All references must outlive the device.
    Device(DeviceOptions const& options, DeviceSocket const& socket, Transmitter& transmitter,
           Receiver& receiver);
    ~Device();
    Device(Device const&) = delete;
    Device& operator=(Device const&) = delete;

    /// Returns when the options say so, or after SIGINT or SIGTERM. From its construction on, the
    /// process ignores both otherwise.
    void run();

private:
    bool isStreaming(int64_t now) const;
    bool isOver(int64_t now) const;
    int64_t untilNextEvent(int64_t now) const;

    void sendDue(int64_t now);
    void fetchBatch();
    void receiveAll(int64_t now);
    void greeted(sockaddr_in const& from, int64_t now);

    DeviceOptions const& m_options;
    DeviceSocket const& m_socket;
    Transmitter& m_transmitter;
    Receiver& m_receiver;
    Stream m_stream;
    int m_endSignals;
    std::vector<DueRecord> m_batch; // what goes out next; empty only when the stream is over
    bool m_isGreeted = false;
    sockaddr_in m_greeter = {};
    int64_t m_start = 0; // of the stream, at the first hello
    int64_t m_lastHello = 0;
    int64_t m_lastReceived = 0;
    DeviceSocket::Reception m_reception;
};

#endif
