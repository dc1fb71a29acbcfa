#ifndef APP_RECORDER_H
#define APP_RECORDER_H

#include <cstdint>
#include <memory>
#include <string>

#include <netinet/in.h>

#include "binary_write_observer.h"
#include "fdloop_timer.h"
#include "i_playback_controller.h"
#include "i_udp_con.h"
#include "mode.h"

/// Record mode: writes what the device sends to the log file, and greets the device so that it goes
/// on sending: after every fiftieth datagram, and each second in which no greeting has gone out for
/// 900 ms.
class Recorder : public Mode
{
public:
    /// Starts recording into a new file; the first greeting leaves a second later. Throws
    /// std::system_error when the file cannot be opened.
    Recorder(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
             std::shared_ptr<sockaddr_in> address);

    /// Leaves its periodic callback in the connection, which must not receive any more.
    ~Recorder() override;
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    void sendHello();

private:
    bool checkHelloTimeout();

    // The writer goes last: with it the file is closed.
    std::shared_ptr<BinaryWriteObserver> m_writer;
    std::shared_ptr<IUdpCon> m_udpCon;
    std::shared_ptr<IPlaybackController> m_controller;
    std::shared_ptr<sockaddr_in> m_address;
    FdloopTimer m_helloTimer;
    uint32_t m_lastHelloMs = 0;
};

#endif
