// Takes what a replay sends, until SIGINT or SIGTERM. It looks into its queue every millisecond and
// never waits on it: waking a receiver would cost the sender more than the record.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "device_sim/device_socket.h"
#include "device_sim/simulation_time.h"
#include "packet_codec.h"
#include "record_list.h"

static constexpr timespec PERIOD = {0, NS_PER_MS};

struct SinkOptions
{
    uint16_t port = 0; // the system chooses
    std::string stampsFile;
    bool isNumbered = false;
};

struct SinkReport
{
    uint64_t count = 0;
    uint64_t wrong = 0;  // not a record of the feeder, or behind a later one
    uint32_t number = 0; // that may follow
    uint64_t bytes = 0;
    int64_t firstNs = 0;
    int64_t lastNs = 0;
    uint32_t dropped = 0;
};

// Whether it is a record as the feeder sends them: all zeros but for its number.
static bool isNumberedRecord(DeviceSocket::Reception const& reception, uint32_t& number)
{
    static constexpr size_t NUMBER_AT = PACKET_HEADER_SIZE + 4;
    bool isRecord = false;
    visitRecordType(reception.bytes[0] - size_t{1}, [&](auto record) {
        auto packet = encodePacket(record);
        if (reception.size != packet.size())
            return;
        PacketReader(reception.bytes.data() + NUMBER_AT).word(number);
        PacketWriter(packet.data() + NUMBER_AT).word(number);
        isRecord = memcmp(packet.data(), reception.bytes.data(), packet.size()) == 0;
    });
    return isRecord;
}

static void check(DeviceSocket::Reception const& reception, SinkReport& received)
{
    uint32_t number = 0;
    if (!isNumberedRecord(reception, number) || number < received.number)
        ++received.wrong;
    else
        received.number = number + 1;
}

static void drain(DeviceSocket const& socket, SinkReport& received, FILE* stamps, bool isNumbered)
{
    static DeviceSocket::Reception reception;
    while (socket.receive(reception)) {
        if (received.count == 0)
            received.firstNs = reception.time;
        received.lastNs = reception.time;
        ++received.count;
        received.bytes += reception.size;
        received.dropped = reception.overflows;
        if (isNumbered)
            check(reception, received);
        if (stamps)
            fwrite(&reception.time, sizeof reception.time, 1, stamps);
    }
}

static SinkReport receiveUntilSignal(DeviceSocket const& socket, sigset_t const& end, FILE* stamps,
                                     bool isNumbered)
{
    SinkReport received;
    while (sigtimedwait(&end, nullptr, &PERIOD) == -1)
        drain(socket, received, stamps, isNumbered);
    drain(socket, received, stamps, isNumbered);
    return received;
}

static void receive(SinkOptions const& options)
{
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGINT);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);

    FILE* const stamps =
        options.stampsFile.empty() ? nullptr : fopen(options.stampsFile.c_str(), "w");
    if (!options.stampsFile.empty() && !stamps)
        throw std::system_error(errno, std::generic_category(),
                                "cannot write " + options.stampsFile);

    DeviceSocket const socket("127.0.0.1", options.port);
    printf("listening on %u\n", unsigned{socket.port()});
    fflush(stdout);
    SinkReport const received = receiveUntilSignal(socket, end, stamps, options.isNumbered);

    nlohmann::json const report = {{"received", received.count}, {"bytes", received.bytes},
                                   {"wrong", received.wrong},    {"firstNs", received.firstNs},
                                   {"lastNs", received.lastNs},  {"dropped", received.dropped}};
    puts(report.dump().c_str());
    if (stamps && fclose(stamps) != 0)
        throw std::system_error(errno, std::generic_category(),
                                "cannot write " + options.stampsFile);
}

static int run(int argc, char** argv)
{
    SinkOptions options;
    CLI::App app{"Counts the datagrams of a replay, until SIGINT or SIGTERM, and reports them as "
                 "one line of JSON."};
    app.add_option("--port", options.port, "to listen on, of 127.0.0.1; 0 lets the system choose");
    app.add_option("--stamps", options.stampsFile,
                   "file for the kernel's time stamps of the reception: CLOCK_REALTIME in ns, "
                   "64 bits each");
    app.add_flag("--numbered", options.isNumbered,
                 "they are the feeder's records of one log: count what is anything else");
    CLI11_PARSE(app, argc, argv);
    receive(options);
    return EXIT_SUCCESS;
}

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        fprintf(stderr, "sink: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
