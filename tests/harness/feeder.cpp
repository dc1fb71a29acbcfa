// Feeds a recorder: waits for its hello like the device and sends it numbered records, watching its
// queue so that nothing is dropped.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/prctl.h>

#include "device_sim/datagram.h"
#include "device_sim/device_socket.h"
#include "device_sim/greeting.h"
#include "device_sim/simulation_time.h"
#include "packet_codec.h"
#include "receiver_watch.h"
#include "record_list.h"

struct Options
{
    uint16_t port = 0; // the system chooses
    uint16_t to = 0;   // none: whoever says hello
    uint64_t warmUp = 1000;
    uint64_t count = 100000;
    PerType<unsigned> mix = {1};
    uint64_t burst = 64;
    uint64_t rate = 0; // datagrams a second; none: as the receiver takes them
};

// A recorder's queue holds some 200 KiB of this, unless it was told otherwise.
static constexpr uint64_t QUEUE_LIMIT = 64 << 10;
static constexpr int64_t POLL_NS = 20 * NS_PER_US;
static constexpr int64_t SLOT_NS = NS_PER_MS;

static int64_t now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<int64_t>(time.tv_sec) * NS_PER_S + time.tv_nsec;
}

static void sleepUntil(int64_t time)
{
    timespec until = {};
    until.tv_sec = static_cast<time_t>(time / NS_PER_S);
    until.tv_nsec = static_cast<long>(time % NS_PER_S);
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

/// Records of time stamp 0, so that a replay has them all due at once, with their number modulo
/// 2^32 in the word behind the first one of the payload.
class NumberedRecords
{
public:
    /// The types in turn, each as often as the mix says.
    explicit NumberedRecords(PerType<unsigned> const& mix)
    {
        unsigned const total = std::accumulate(mix.begin(), mix.end(), 0U);
        if (total == 0)
            throw std::invalid_argument("an empty mix");
        PerType<int64_t> credits = {};
        for (unsigned i = 0; i < total; ++i) {
            for (size_t type = 0; type < mix.size(); ++type)
                credits[type] += mix[type];
            auto const most = std::max_element(credits.begin(), credits.end());
            *most -= total;
            visitRecordType(static_cast<size_t>(most - credits.begin()), [this](auto record) {
                m_cycle.push_back(Datagram::of(encodePacket(record)));
            });
        }
    }

    /// Valid until the next call.
    Datagram const& next()
    {
        static constexpr size_t NUMBER_AT = PACKET_HEADER_SIZE + 4;
        Datagram& datagram = m_cycle[m_number % m_cycle.size()];
        PacketWriter(datagram.bytes.data() + NUMBER_AT).word(static_cast<uint32_t>(m_number));
        ++m_number;
        return datagram;
    }

private:
    std::vector<Datagram> m_cycle;
    uint64_t m_number = 0;
};

class Feeder
{
public:
    Feeder(Options const& options, DeviceSocket const& socket, sockaddr_in const& receiver)
        : m_options(options),
          m_socket(socket),
          m_receiver(receiver),
          m_watch(ntohs(receiver.sin_port)),
          m_records(options.mix)
    {}

    nlohmann::json run()
    {
        uint64_t const dropsBefore = m_watch.queue().drops;
        waitUntilTaken();
        send(m_options.warmUp);

        uint64_t const cpuBefore = m_watch.cpuNs();
        int64_t const start = now();
        send(m_options.count);

        return {{"pid", m_watch.pid()},
                {"sent", m_options.count},
                {"warmUp", m_options.warmUp},
                {"bytes", m_bytes},
                {"dropped", m_watch.queue().drops - dropsBefore},
                {"heldBack", m_heldBack},
                {"seconds", static_cast<double>(now() - start) / NS_PER_S},
                {"cpuNs", m_watch.cpuNs() - cpuBefore}};
    }

private:
    // All of them handled at the return.
    void send(uint64_t count)
    {
        if (m_options.rate == 0)
            sendInBursts(count);
        else
            sendPaced(count);
        waitUntilTaken();
    }

    void sendInBursts(uint64_t count)
    {
        while (count > 0) {
            uint64_t const size = std::min(count, m_options.burst);
            sendBackToBack(size);
            count -= size;
            waitUntilTaken();
        }
    }

    void sendPaced(uint64_t count)
    {
        int64_t const start = now();
        uint64_t sent = 0;
        for (int64_t slot = start; sent < count; slot += SLOT_NS) {
            sleepUntil(slot);
            // In this order no product of 64 bits is exceeded for a thousand years.
            auto const passedUs = static_cast<uint64_t>((now() - start) / NS_PER_US);
            uint64_t const due = std::min(passedUs / 1000000 * m_options.rate +
                                              passedUs % 1000000 * m_options.rate / 1000000,
                                          count);
            while (sent < due) {
                holdBack();
                // No more at a time than surely find room.
                uint64_t const size = std::min(due - sent, BATCH_LIMIT);
                sendBackToBack(size);
                sent += size;
            }
        }
    }

    void sendBackToBack(uint64_t count)
    {
        for (; count > 0; --count) {
            Datagram const& datagram = m_records.next();
            if (!m_socket.send(m_receiver, datagram.bytes.data(), datagram.size))
                throw std::runtime_error("cannot send");
            m_bytes += datagram.size;
        }
        while (m_socket.receive(m_reception)) {
        } // its further hellos
    }

    void holdBack()
    {
        if (m_watch.queue().bytes <= QUEUE_LIMIT)
            return;
        ++m_heldBack;
        do {
            sleepUntil(now() + POLL_NS);
        } while (m_watch.queue().bytes > QUEUE_LIMIT);
    }

    void waitUntilTaken() const
    {
        // Asleep first: a receiver with an empty queue may still be at work on its last datagram.
        while (!m_watch.isAsleep() || m_watch.queue().bytes > 0)
            sleepUntil(now() + POLL_NS);
    }

    static constexpr uint64_t BATCH_LIMIT = 100; // of some 1 KiB in the queue

    Options const& m_options;
    DeviceSocket const& m_socket;
    sockaddr_in m_receiver;
    ReceiverWatch m_watch;
    NumberedRecords m_records;
    DeviceSocket::Reception m_reception;
    uint64_t m_bytes = 0;
    uint64_t m_heldBack = 0;
};

static sockaddr_in waitForHello(DeviceSocket const& socket)
{
    DeviceSocket::Reception reception;
    do {
        pollfd readable = {socket.fd(), POLLIN, 0};
        poll(&readable, 1, -1);
    } while (!socket.receive(reception) || !isHello(reception.bytes.data(), reception.size));
    return reception.from;
}

static void feed(Options const& options)
{
    prctl(PR_SET_TIMERSLACK, 1UL); // it sleeps for microseconds
    DeviceSocket const socket("127.0.0.1", options.port);
    printf("listening on %u\n", unsigned{socket.port()});
    fflush(stdout);

    sockaddr_in receiver = {};
    receiver.sin_family = AF_INET;
    receiver.sin_port = htons(options.to);
    receiver.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (options.to == 0)
        receiver = waitForHello(socket);
    puts(Feeder(options, socket, receiver).run().dump().c_str());
}

static int run(int argc, char** argv)
{
    Options options;
    CLI::App app{
        "Sends numbered records to the recorder that says hello, such that none is dropped, "
        "and reports what was sent, what was dropped all the same and the recorder's "
        "processor time as one line of JSON."};
    app.add_option("--port", options.port, "to listen on, of 127.0.0.1; 0 lets the system choose");
    app.add_option("--to", options.to, "send to this port of 127.0.0.1, without a hello");
    app.add_option("--warm-up", options.warmUp, "datagrams before those that are measured");
    app.add_option("--count", options.count, "datagrams");
    app.add_option("--mix", options.mix,
                   "shares of ImuData, GnssData, GnssPvt, AttitudeData, GenericData")
        ->delimiter(',');
    app.add_option("--burst", options.burst,
                   "datagrams back to back; the next ones when these are handled and the recorder "
                   "sleeps: 1 wakes it for each")
        ->check(CLI::Range(1, 128));
    app.add_option("--rate", options.rate,
                   "datagrams a second instead, as far as the recorder's queue has room");
    CLI11_PARSE(app, argc, argv);
    feed(options);
    return EXIT_SUCCESS;
}

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        fprintf(stderr, "feeder: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
