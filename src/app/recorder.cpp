#include "recorder.h"

#include <cstdio>
#include <new>
#include <utility>

#include "hello.h"
#include "playback_controller.h"
#include "subscribe_all.h"
#include "tt_time.h"

static constexpr unsigned HELLO_PERIOD_MS = 1000;
static constexpr uint32_t HELLO_TIMEOUT_MS = 900; // since the last hello of any cause
static constexpr unsigned HELLO_EVERY_N_PACKETS = 50;

Recorder::Recorder(_fdloop_t* loop, std::string fileName, std::shared_ptr<IUdpCon> udpCon,
                   std::shared_ptr<sockaddr_in> address)
    : m_writer(std::make_shared<BinaryWriteObserver>()),
      m_udpCon(std::move(udpCon)),
      m_controller(PlaybackControllerFactory(m_udpCon).create()),
      m_address(std::move(address)),
      m_helloTimer(loop)
{
    m_writer->writer().openFile(std::move(fileName));
    subscribe_all(m_writer, m_controller);
    m_controller->initialize();
    m_udpCon->setPeriodicRxCallBack(
        [this](sockaddr const*, unsigned char const*, unsigned int) { sendHello(); },
        HELLO_EVERY_N_PACKETS);
    m_helloTimer.setCallBack([this] { return checkHelloTimeout(); });
    m_helloTimer.startTimer(HELLO_PERIOD_MS);
    if (!m_helloTimer.isActive())
        throw std::bad_alloc(); // or a silent device would never get a hello
}

Recorder::~Recorder()
{
    m_helloTimer.stopTimer();
    m_controller->tearDown();
    unsubscribe_all(m_writer, m_controller);
}

void Recorder::sendHello()
{
    m_udpCon->transmit(m_address.get(), HELLO, sizeof HELLO);
    puts("send hello");
    m_lastHelloMs = tt_time_ms();
}

bool Recorder::checkHelloTimeout()
{
    if (tt_time_ms_elapsed(m_lastHelloMs) >= HELLO_TIMEOUT_MS) {
        printf("timeout: "); // "send hello" completes the line
        sendHello();
    }
    return true;
}
