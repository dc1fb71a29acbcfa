#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "device_sim/device.h"
#include "device_sim/device_options.h"
#include "device_sim/device_socket.h"
#include "device_sim/expected_log.h"
#include "device_sim/receiver.h"
#include "device_sim/report.h"
#include "device_sim/report_file.h"
#include "device_sim/transmitter.h"

static constexpr int STATUS_DIFFERENT = 1; // from the expected log
static constexpr int STATUS_FAILED = 2;

static int run(DeviceOptions const& options)
{
    std::optional<RecordSequence> expected;
    if (!options.expectFile.empty())
        expected = readExpectedLog(options.expectFile);

    std::optional<ReportFile> json;
    if (!options.jsonFile.empty())
        json.emplace(options.jsonFile);
    FILE* const text = options.jsonFile == "-" ? stderr : stdout; // a program reads the other one

    DeviceSocket const socket(options.bindAddress, options.port);
    Transmitter transmitter(socket, Faults(options.faults), options.dumpFile);
    Receiver receiver(std::move(expected));
    Device device(options, socket, transmitter, receiver);

    fprintf(text, "listening on %u\n", unsigned{socket.port()});
    fflush(text);
    device.run();
    transmitter.finish();

    ReceivedReport const received = receiver.report();
    fputs(toText(transmitter.counts(), received).c_str(), text);
    if (json)
        json->write(toJson(transmitter.counts(), received));

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
