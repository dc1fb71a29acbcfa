#include "player.h"

#include <utility>

#include "log_controller.h"
#include "subscribe_all.h"
#include "tt_interrupt.h"

Player::Player(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
               std::shared_ptr<sockaddr_in> address, std::function<bool()> const& completion)
    : m_reader(std::make_shared<LogDataReader>()),
      m_controller(LogControllerFactory(udpCon, std::move(address)).create()),
      m_dataLogger(std::make_shared<DataLogger>()),
      m_delay(std::make_shared<LogDataDelay>(loop)),
      m_completion(completion)
{
    m_reader->openFile(std::move(fileName));
    m_controller->initialize();
    m_dataLogger->setController(m_controller);
    subscribe_all(m_delay, m_reader);
    subscribe_all(std::shared_ptr<IDataLogger>(m_dataLogger), m_delay);
    m_delay->m_onSent = [this] { readNext(); };
    readNext();
}

Player::~Player()
{
    m_dataLogger->removeController();
    m_controller->tearDown();
    // This removes nothing, on purpose: the logger observes the delay, not the reader. The stages
    // are released with the player, and that ends their links.
    unsubscribe_all(std::shared_ptr<IDataLogger>(m_dataLogger), m_reader);
}

namespace
{

/// Sets the flag while this object lives. Clears it also when an exception ends that.
class Flag
{
public:
    explicit Flag(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Flag() { m_flag = false; }
    Flag(Flag const&) = delete;
    Flag& operator=(Flag const&) = delete;

private:
    bool& m_flag;
};

}

void Player::readNext()
{
    m_wanted = true;
    // The record being read was passed on at once. The loop below reads the next one, so that a
    // long series of due records does not fill the stack.
    if (m_reading)
        return;

    Flag const reading(m_reading);
    // If all records are due, this loop runs to the end of the log, so CTRL-C must be able to stop
    // it.
    while (m_wanted && !tt_interrupted()) {
        m_wanted = false;
        // A read that CTRL-C has cut short is not the end of the log.
        if (!m_reader->LogDataReader::readPacket() && !tt_interrupted())
            m_completion();
    }
}
