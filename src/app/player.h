#ifndef APP_PLAYER_H
#define APP_PLAYER_H

#include <functional>
#include <memory>
#include <string>

#include <netinet/in.h>

#include "data_logger.h"
#include "i_log_controller.h"
#include "i_udp_con.h"
#include "log_data_delay.h"
#include "log_data_reader.h"
#include "mode.h"

/// Replay mode: sends the records of the log file to the device at the pace at which they were
/// recorded. A record passes through reader, delay, data logger and controller.
class Player : public Mode
{
public:
    /// Starts the replay: sends the first record and those that are due with it. Returns at the
    /// first record that must wait, or when a signal that ends the run has been caught.
    /// `completion` is called at the end of the log, perhaps before the constructor returns. It
    /// must not be empty. Throws std::system_error if the log cannot be opened.
    Player(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
           std::shared_ptr<sockaddr_in> address, std::function<bool()> const& completion);
    ~Player() override;
    Player(Player const&) = delete;
    Player& operator=(Player const&) = delete;

private:
    void readNext();

    std::shared_ptr<LogDataReader> m_reader;
    std::shared_ptr<ILogController> m_controller;
    std::shared_ptr<DataLogger> m_dataLogger;
    std::shared_ptr<LogDataDelay> m_delay;
    std::function<bool()> m_completion;
    bool m_reading = false; // readNext is on the stack
    bool m_wanted = false;  // the next record has been asked for
};

#endif
