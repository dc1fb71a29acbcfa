#include "device_sim/device_options.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sample_records.h"
#include "temp_dir.h"

static std::optional<int> parse(std::vector<std::string> arguments, DeviceOptions& options)
{
    arguments.insert(arguments.begin(), "device_sim");
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    return parseOptions(static_cast<int>(argv.size()), argv.data(), options);
}

static DeviceOptions parsed(std::vector<std::string> const& arguments)
{
    DeviceOptions options;
    EXPECT_EQ(std::nullopt, parse(arguments, options));
    return options;
}

TEST(DeviceOptions, areADeviceThatStreamsForEverUnlessTheySayOtherwise)
{
    DeviceOptions const options = parsed({});
    EXPECT_EQ("0.0.0.0", options.bindAddress);
    EXPECT_EQ(0, options.port);
    EXPECT_TRUE(options.isPaced);
    EXPECT_EQ(UNLIMITED, options.stream.count);
    EXPECT_EQ(NEVER, options.stream.duration);
    EXPECT_EQ(UNLIMITED, options.receiveCount);
    EXPECT_EQ(NEVER, options.idleTimeout);
}

TEST(DeviceOptions, reachTheSettingThatTheyName)
{
    TempDir const dir;
    writeBytes(dir.file("log"), {});
    DeviceOptions const options = parsed({"--bind",
                                          "127.0.0.1",
                                          "--port",
                                          "4000",
                                          "--imu-rate",
                                          "1",
                                          "--gnss-rate",
                                          "2",
                                          "--pvt-rate",
                                          "3",
                                          "--attitude-rate",
                                          "4",
                                          "--generic-rate",
                                          "0",
                                          "--start-ticks",
                                          "9",
                                          "--seed",
                                          "8",
                                          "--latitude",
                                          "-10.5",
                                          "--longitude",
                                          "20",
                                          "--count",
                                          "7",
                                          "--duration",
                                          "1.5",
                                          "--burst",
                                          "6",
                                          "--shuffle",
                                          "5",
                                          "--short-at",
                                          "11",
                                          "--short-to",
                                          "12",
                                          "--long-every",
                                          "13",
                                          "--empty-every",
                                          "14",
                                          "--unknown-every",
                                          "15",
                                          "--receive-count",
                                          "16",
                                          "--idle-timeout",
                                          "0.25",
                                          "--silence-every",
                                          "2",
                                          "--silence-for",
                                          "3",
                                          "--dump",
                                          "a",
                                          "--json",
                                          "-",
                                          "--expect",
                                          dir.file("log"),
                                          "--as-fast-as-possible"});

    EXPECT_EQ("127.0.0.1", options.bindAddress);
    EXPECT_EQ(4000, options.port);
    EXPECT_EQ((PerType<double>{1.0, 2.0, 3.0, 4.0, 0.0}), options.stream.schedule.rates);
    EXPECT_EQ(9U, options.stream.vehicle.startTicks);
    EXPECT_EQ(8U, options.stream.vehicle.seed);
    EXPECT_EQ(-10.5, options.stream.vehicle.latitude);
    EXPECT_EQ(20.0, options.stream.vehicle.longitude);
    EXPECT_EQ(7U, options.stream.count);
    EXPECT_EQ(1'500 * NS_PER_MS, options.stream.duration);
    EXPECT_EQ(6U, options.burst);
    EXPECT_EQ(5U, options.stream.shuffle);
    EXPECT_EQ(11U, options.faults.shortAt);
    EXPECT_EQ(12U, options.faults.shortTo);
    EXPECT_EQ(13U, options.faults.longEvery);
    EXPECT_EQ(14U, options.faults.emptyEvery);
    EXPECT_EQ(15U, options.faults.unknownEvery);
    EXPECT_EQ(16U, options.receiveCount);
    EXPECT_EQ(250 * NS_PER_MS, options.idleTimeout);
    EXPECT_EQ(2 * NS_PER_S, options.stream.schedule.silenceEvery);
    EXPECT_EQ(3 * NS_PER_S, options.stream.schedule.silenceFor);
    EXPECT_EQ("a", options.dumpFile);
    EXPECT_EQ("-", options.jsonFile);
    EXPECT_EQ(dir.file("log"), options.expectFile);
    EXPECT_FALSE(options.isPaced);
}

TEST(DeviceOptions, thatMakeNoSenseEndTheProgram)
{
    std::vector<std::string> const cases[] = {
        {"--imu-rate", "nan"},  {"--imu-rate", "-1"},  {"--count", "0"},
        {"--latitude", "86"},   {"--bind", "nowhere"}, {"--port", "65536"},
        {"--duration", "0"},    {"--short-to", "5"},   {"--silence-every", "5"},
        {"--silence-for", "5"}, {"--expect", "/none"}, {"--unheard-of"},
        {"--idle-timeout", ""},
    };
    for (auto const& arguments : cases) {
        SCOPED_TRACE(arguments[0]);
        testing::internal::CaptureStderr();
        DeviceOptions options;
        std::optional<int> const status = parse(arguments, options);
        EXPECT_NE("", testing::internal::GetCapturedStderr());
        EXPECT_NE(0, status.value_or(0));
    }
}

TEST(DeviceOptions, askForHelp)
{
    testing::internal::CaptureStdout();
    DeviceOptions options;
    EXPECT_EQ(0, parse({"--help"}, options));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStdout().find("--start-ticks"));
}
