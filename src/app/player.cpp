#include "player.h"

#include <utility>

#include "fdloop.h"
#include "log_controller.h"
#include "subscribe_all.h"

static constexpr unsigned SIGNALS_EVERY_N_RECORDS = 256;

Player::Player(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
               std::shared_ptr<sockaddr_in> address, std::function<bool()> const& completion)
    : m_reader(std::make_shared<LogDataReader>()),
      m_controller(LogControllerFactory(udpCon, std::move(address)).create()),
      m_dataLogger(std::make_shared<DataLogger>()),
      m_delay(std::make_shared<LogDataDelay>(loop)),
      m_completion(completion),
      m_loop(loop)
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
    // Removes nothing: the logger observes the delay, not the reader. The links between the stages
    // lapse with them.
    unsubscribe_all(std::shared_ptr<IDataLogger>(m_dataLogger), m_reader);
}

void Player::readNext()
{
    m_wanted = true;
    // The record being read was passed on at once. The read below takes the request up, so that
    // records that are all due do not pile up on the stack.
    if (m_reading)
        return;

    m_reading = true;
    for (unsigned count = 1; m_wanted; ++count) {
        m_wanted = false;
        if (!m_reader->readPacket())
            m_completion();
        // Records that are all due keep this going for as long as the log is: CTRL-C must end it.
        if (count % SIGNALS_EVERY_N_RECORDS == 0 && fdloop_let_signals_in(m_loop))
            break;
    }
    m_reading = false;
}
