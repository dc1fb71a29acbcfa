#include "log_tool.h"

#include <utility>

#include "fdloop_udp_con_factory.h"
#include "player.h"
#include "recorder.h"
#include "tt_panic.h"

LogTool::LogTool(_fdloop_t* loop, std::string fileName, std::shared_ptr<sockaddr_in> address)
    : m_fileName(std::move(fileName)),
      m_udpCon(FdloopUdpConFactory(loop, 0).create()),
      m_address(std::move(address)),
      m_loop(loop)
{}

void LogTool::play()
{
    if (!m_address)
        tt_assert_failed("log_tool", 20);
    m_mode = std::make_unique<Player>(m_loop, m_fileName, m_udpCon, m_address, [this] {
        m_stop = true;
        m_udpCon->close();
        return true;
    });
}

void LogTool::record()
{
    if (!m_address)
        tt_assert_failed("log_tool", 28);
    m_mode = std::make_unique<Recorder>(m_loop, m_fileName, m_udpCon, m_address);
}
