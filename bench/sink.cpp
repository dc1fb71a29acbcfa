// Takes what a replay sends, until SIGINT or SIGTERM. It looks into its queue every millisecond and
// never waits on it: waking a receiver would cost the sender more than the record.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "device_socket.h"
#include "simulation_time.h"

static constexpr timespec PERIOD = {0, NS_PER_MS};

struct Received
{
    uint64_t count = 0;
    uint64_t bytes = 0;
    int64_t firstNs = 0;
    int64_t lastNs = 0;
    uint32_t dropped = 0;
};

static void drain(DeviceSocket const& socket, Received& received, FILE* stamps)
{
    static DeviceSocket::Reception reception;
    while (socket.receive(reception)) {
        if (received.count == 0)
            received.firstNs = reception.time;
        received.lastNs = reception.time;
        ++received.count;
        received.bytes += reception.size;
        received.dropped = reception.overflows;
        if (stamps)
            fwrite(&reception.time, sizeof reception.time, 1, stamps);
    }
}

static Received receiveUntilSignal(DeviceSocket const& socket, sigset_t const& end, FILE* stamps)
{
    Received received;
    while (sigtimedwait(&end, nullptr, &PERIOD) == -1)
        drain(socket, received, stamps);
    drain(socket, received, stamps);
    return received;
}

static void run(uint16_t port, std::string const& stampsFile)
{
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGINT);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);

    FILE* const stamps = stampsFile.empty() ? nullptr : fopen(stampsFile.c_str(), "w");
    if (!stampsFile.empty() && !stamps)
        throw std::system_error(errno, std::generic_category(), "cannot write " + stampsFile);

    DeviceSocket const socket("127.0.0.1", port);
    printf("listening on %u\n", unsigned{socket.port()});
    fflush(stdout);
    Received const received = receiveUntilSignal(socket, end, stamps);

    nlohmann::json const report = {{"received", received.count},
                                   {"bytes", received.bytes},
                                   {"firstNs", received.firstNs},
                                   {"lastNs", received.lastNs},
                                   {"dropped", received.dropped}};
    puts(report.dump().c_str());
    if (stamps && fclose(stamps) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot write " + stampsFile);
}

int main(int argc, char** argv)
{
    uint16_t port = 0;
    std::string stampsFile;
    CLI::App app{"Counts the datagrams of a replay, until SIGINT or SIGTERM, and reports them as "
                 "one line of JSON."};
    app.add_option("--port", port, "to listen on, of 127.0.0.1; 0 lets the system choose");
    app.add_option("--stamps", stampsFile,
                   "file for the kernel's time stamps of the reception: CLOCK_REALTIME in ns, "
                   "64 bits each");
    CLI11_PARSE(app, argc, argv);
    try {
        run(port, stampsFile);
    } catch (std::exception const& error) {
        fprintf(stderr, "sink: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
