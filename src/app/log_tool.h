#ifndef APP_LOG_TOOL_H
#define APP_LOG_TOOL_H

#include <memory>
#include <string>

#include <netinet/in.h>

#include "i_udp_con.h"
#include "mode.h"

struct _fdloop_t;

/// The application: one connection to the device and the mode that uses it.
class LogTool
{
public:
    /// `address` is the device's. If it is null, play and record panic. The connection uses a local
    /// port that the system chooses, and is not open yet.
    LogTool(_fdloop_t* loop, std::string fileName, std::shared_ptr<sockaddr_in> address);

    /// Replays the log file.
    void play();

    /// Records into the log file.
    void record();

    bool m_stop = false; // the run is to end
    std::string m_fileName;
    std::shared_ptr<IUdpCon> m_udpCon;
    std::unique_ptr<Mode> m_mode; // null until play or record
    std::shared_ptr<sockaddr_in> m_address;
    _fdloop_t* m_loop;
};

#endif
