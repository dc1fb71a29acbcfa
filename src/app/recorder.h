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

/// Record mode: writes what the device sends to the log file. The device sends only while it gets
/// hellos, so it gets one after every fiftieth datagram. A check each second sends one if the last
/// is 900 ms old or older.
class Recorder : public Mode
{
public:
    /// Starts recording into a new or emptied file. The first hello leaves a second later. Throws
    /// std::system_error if the file cannot be opened.
    Recorder(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
             std::shared_ptr<sockaddr_in> address);

    /// Its periodic callback stays in the connection, so the connection must not receive any more.
    ~Recorder() override;
    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    void sendHello();

private:
    bool checkHelloTimeout();

    // Declared first, so destroyed last: that closes the file.
    std::shared_ptr<BinaryWriteObserver> m_writer;
    std::shared_ptr<IUdpCon> m_udpCon;
    std::shared_ptr<IPlaybackController> m_controller;
    std::shared_ptr<sockaddr_in> m_address;
    FdloopTimer m_helloTimer;
    uint32_t m_lastHelloMs = 0;
};

#endif
