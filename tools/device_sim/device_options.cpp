#include "device_sim/device_options.h"

#include <cmath>
#include <utility>

#include <CLI/CLI.hpp>

// Like CLI::Range, which accepts "nan".
static CLI::Validator within(double min, double max)
{
    return {[=](std::string const& text) -> std::string {
                double value = 0.0;
                if (CLI::detail::lexical_cast(text, value) && value >= min && value <= max)
                    return {};
                return text + " is not a number from " + CLI::detail::to_string(min) + " to " +
                       CLI::detail::to_string(max);
            },
            ""};
}

static CLI::Option* addSeconds(CLI::App& app, std::string const& name, int64_t& time,
                               std::string const& help)
{
    static constexpr double MIN = 1e-3;
    static constexpr double MAX = 1e8; // years
    return app
        .add_option_function<double>(
            name, [&time](double const& s) { time = llround(s * static_cast<double>(NS_PER_S)); },
            help)
        ->check(within(MIN, MAX))
        ->type_name("SECONDS");
}

static void addCount(CLI::App& app, std::string const& name, uint64_t& count,
                     std::string const& help)
{
    app.add_option(name, count, help)->check(within(1, 1e15))->type_name("N");
}

static void addStream(CLI::App& app, DeviceOptions& options)
{
    static constexpr double MAX_RATE = 1e6; // Hz

    Stream::Settings& stream = options.stream;
    std::pair<char const*, size_t> const rates[] = {
        {"--imu-rate", INDEX_OF<ImuData>},         {"--gnss-rate", INDEX_OF<GnssData>},
        {"--pvt-rate", INDEX_OF<GnssPvt>},         {"--attitude-rate", INDEX_OF<AttitudeData>},
        {"--generic-rate", INDEX_OF<GenericData>},
    };
    for (auto const& [name, index] : rates)
        app.add_option(name, stream.schedule.rates[index],
                       std::string(RECORD_NAMES[index]) + " a second, 0 for none")
            ->check(within(0.0, MAX_RATE))
            ->type_name("HZ")
            ->capture_default_str();

    app.add_option("--latitude", stream.vehicle.latitude, "Centre of the figure of eight, degrees")
        ->check(within(-85.0, 85.0))
        ->capture_default_str();
    app.add_option("--longitude", stream.vehicle.longitude,
                   "Centre of the figure of eight, degrees")
        ->check(within(-180.0, 180.0))
        ->capture_default_str();
    app.add_option("--seed", stream.vehicle.seed, "Seed of the sensors' noise")
        ->capture_default_str();
    app.add_option("--start-ticks", stream.vehicle.startTicks, "First time stamp, ms")
        ->capture_default_str();
    addCount(app, "--count", stream.count, "End after so many records");
    addSeconds(app, "--duration", stream.duration, "End so long after the first hello");
    app.add_flag_callback(
        "--as-fast-as-possible", [&options] { options.isPaced = false; }, "Send without pacing");
}

static void addFaults(CLI::App& app, DeviceOptions& options)
{
    Stream::Settings& stream = options.stream;
    addCount(app, "--burst", options.burst, "Hold records back and send N back to back");
    addCount(app, "--shuffle", stream.shuffle, "Bring records out of order, N at a time");
    auto* const every = addSeconds(app, "--silence-every", stream.schedule.silenceEvery,
                                   "Fall silent whenever so much time has passed ...");
    auto* const length =
        addSeconds(app, "--silence-for", stream.schedule.silenceFor, "... for so long");
    every->needs(length);
    length->needs(every);

    Faults::Settings& faults = options.faults;
    addCount(app, "--short-at", faults.shortAt, "Cut record N short");
    app.add_option("--short-to", faults.shortTo, "Bytes left of it; by default all but one")
        ->needs("--short-at");
    addCount(app, "--long-every", faults.longEvery, "Pad every Nth record");
    addCount(app, "--unknown-every", faults.unknownEvery,
             "Add a datagram of an unknown type after every N records");
    addCount(app, "--empty-every", faults.emptyEvery,
             "Add an empty datagram after every N records");
}

static void addReception(CLI::App& app, DeviceOptions& options)
{
    app.add_option("--expect", options.expectFile,
                   "The log that is replayed to this port; exit status 1 if anything differs")
        ->check(CLI::ExistingFile);
    addSeconds(app, "--idle-timeout", options.idleTimeout,
               "End so long after the last datagram received");
    addCount(app, "--receive-count", options.receiveCount, "End after so many datagrams received");
}

std::optional<int> parseOptions(int argc, char** argv, DeviceOptions& options)
{
    CLI::App app{"Stands in for the navigation device: streams a vehicle's records to whoever says "
                 "hello, and checks what a replay sends to it."};
    app.set_help_flag("-h,--help", "Print this help");
    app.add_option("--bind", options.bindAddress, "IPv4 address to listen on")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app.add_option("--port", options.port, "UDP port to listen on, 0 for any")
        ->capture_default_str();
    addStream(app, options);
    addFaults(app, options);
    addReception(app, options);
    app.add_option("--dump", options.dumpFile,
                   "Write the datagrams sent, each behind its length in 2 bytes, little-endian");
    app.add_option("--json", options.jsonFile,
                   "Write the report as JSON; - is standard output, all else then goes to standard "
                   "error");

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error);
    }
    return std::nullopt;
}
