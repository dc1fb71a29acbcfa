#include <cstdio>
#include <exception>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

#include "device.h"
#include "device_options.h"
#include "device_socket.h"
#include "expected_log.h"
#include "receiver.h"
#include "report.h"
#include "transmitter.h"

static constexpr int STATUS_DIFFERENT = 1; // from the expected log
static constexpr int STATUS_FAILED = 2;

static void write(std::string const& text, std::string const& fileName)
{
    std::ofstream file(fileName);
    file << text << "\n";
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + fileName);
}

static int run(DeviceOptions const& options)
{
    std::optional<RecordSequence> expected;
    if (!options.expectFile.empty())
        expected = readExpectedLog(options.expectFile);

    DeviceSocket const socket(options.bindAddress, options.port);
    Transmitter transmitter(socket, Faults(options.faults), options.dumpFile);
    Receiver receiver(std::move(expected));
    Device device(options, socket, transmitter, receiver);

    printf("listening on %u\n", unsigned{socket.port()});
    fflush(stdout);
    device.run();
    transmitter.finish();

    ReceivedReport const received = receiver.report();
    fputs(toText(transmitter.counts(), received).c_str(), stdout);
    if (options.jsonFile == "-")
        puts(toJson(transmitter.counts(), received).c_str());
    else if (!options.jsonFile.empty())
        write(toJson(transmitter.counts(), received), options.jsonFile);

    return options.expectFile.empty() || received.isAsExpected() ? 0 : STATUS_DIFFERENT;
}

int main(int argc, char** argv)
{
    try {
        DeviceOptions options;
        std::optional<int> const status = parseOptions(argc, argv, options);
        return status ? *status : run(options);
    } catch (std::exception const& error) {
        fprintf(stderr, "device_sim: %s\n", error.what());
        return STATUS_FAILED;
    }
}
