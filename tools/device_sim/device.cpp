#include "device_sim/device.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <system_error>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "device_sim/greeting.h"

static constexpr int64_t HELLO_LIFETIME = 3 * NS_PER_S;

// Bounds of one pass, so that sending, receiving and signals do not starve one another.
static constexpr uint64_t MAX_SENT_A_PASS = 256;
static constexpr unsigned MAX_RECEIVED_A_PASS = 4096;

static int64_t monotonicTime()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * NS_PER_S + now.tv_nsec;
}

// SIGINT and SIGTERM as a descriptor. They stay blocked, so that no later signal prevents the
// report.
static int openEndSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    int const fd = signalfd(-1, &set, SFD_CLOEXEC);
    if (fd == -1)
        throw std::system_error(errno, std::generic_category(), "signalfd");
    return fd;
}

Device::Device(DeviceOptions const& options, DeviceSocket const& socket, Transmitter& transmitter,
               Receiver& receiver)
    : m_options(options),
      m_socket(socket),
      m_transmitter(transmitter),
      m_receiver(receiver),
      m_stream(options.stream),
      m_endSignals(openEndSignals())
{
    fetchBatch();
}

Device::~Device()
{
    close(m_endSignals);
}

void Device::run()
{
    prctl(PR_SET_TIMERSLACK, 1); // wake up on time

    for (;;) {
        int64_t const now = monotonicTime();
        sendDue(now);
        if (isOver(now))
            return;

        int64_t const wait = std::max(untilNextEvent(now), int64_t{0});
        timespec const timeout = {static_cast<time_t>(wait / NS_PER_S),
                                  static_cast<long>(wait % NS_PER_S)};
        pollfd fds[] = {{m_socket.fd(), POLLIN, 0}, {m_endSignals, POLLIN, 0}};
        ppoll(fds, 2, wait == NEVER ? nullptr : &timeout, nullptr);
        if (fds[1].revents != 0)
            return;
        if (fds[0].revents != 0)
            receiveAll(monotonicTime());
    }
}

bool Device::isStreaming(int64_t now) const
{
    return m_isGreeted && now - m_lastHello < HELLO_LIFETIME;
}

bool Device::isOver(int64_t now) const
{
    if (m_receiver.datagrams() >= m_options.receiveCount)
        return true;
    if (m_receiver.datagrams() > 0 && now - m_lastReceived >= m_options.idleTimeout)
        return true;
    if (m_transmitter.records() >= m_options.stream.count)
        return true;
    if (!m_options.isPaced)
        return m_batch.empty() && m_isGreeted && m_options.stream.duration != NEVER;
    return m_isGreeted && now - m_start >= m_options.stream.duration &&
           (m_batch.empty() || !isStreaming(now));
}

int64_t Device::untilNextEvent(int64_t now) const
{
    int64_t wait = NEVER;
    if (m_receiver.datagrams() > 0 && m_options.idleTimeout != NEVER)
        wait = std::min(wait, m_options.idleTimeout - (now - m_lastReceived));
    if (m_isGreeted && m_options.isPaced && m_options.stream.duration != NEVER)
        wait = std::min(wait, m_options.stream.duration - (now - m_start));
    if (isStreaming(now) && !m_batch.empty())
        wait = m_options.isPaced ? std::min(wait, m_batch.back().due - (now - m_start)) : 0;
    return wait;
}

void Device::sendDue(int64_t now)
{
    if (!isStreaming(now))
        return;
    for (uint64_t sent = 0; sent < MAX_SENT_A_PASS && !m_batch.empty(); sent += m_options.burst) {
        if (m_options.isPaced && m_batch.back().due > now - m_start)
            return;
        for (auto const& record : m_batch)
            m_transmitter.send(m_greeter, record);
        fetchBatch();
    }
}

// The records are made in advance, so that the whole batch leaves on time and wakes us only once.
void Device::fetchBatch()
{
    m_batch.clear();
    while (m_batch.size() < m_options.burst) {
        auto const record = m_stream.next();
        if (!record)
            return;
        m_batch.push_back(*record);
    }
}

void Device::receiveAll(int64_t now)
{
    for (unsigned i = 0; i < MAX_RECEIVED_A_PASS; ++i) {
        if (m_receiver.datagrams() >= m_options.receiveCount || !m_socket.receive(m_reception))
            return;
        m_receiver.setOverflows(m_reception.overflows);
        if (isHello(m_reception.bytes.data(), m_reception.size)) {
            greeted(m_reception.from, now);
        } else {
            m_receiver.received(m_reception.bytes.data(), m_reception.size, m_reception.time);
            m_lastReceived = now;
        }
    }
}

void Device::greeted(sockaddr_in const& from, int64_t now)
{
    m_receiver.receivedHello();
    if (!m_isGreeted) {
        m_isGreeted = true;
        m_start = now;
    } else if (!isStreaming(now) && m_options.isPaced) {
        // Nobody was listening. What was due or held back meanwhile is lost.
        m_stream.seek(now - m_start, m_transmitter.records());
        fetchBatch();
    }
    m_greeter = from;
    m_lastHello = now;
}
