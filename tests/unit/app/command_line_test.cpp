#include "command_line.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "child_process.h"

static char const* const USAGE = "log_tool [-r] -a <k4n8-ip> -p <port> <file>\n"
                                 "-r: replay\n";

namespace
{

/// What parsing made of the arguments.
struct Parsed
{
    CommandLine line;
    sockaddr_in device = {};
};

}

static void parse(std::vector<std::string> arguments, Parsed& to)
{
    arguments.insert(arguments.begin(), "log_tool");
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    to.device.sin_family = AF_INET;
    parseCommandLine(static_cast<int>(arguments.size()), argv.data(), to.line, to.device);
}

static Parsed parsed(std::vector<std::string> const& arguments)
{
    Parsed result;
    parse(arguments, result);
    return result;
}

/// The bytes of a number that is in network byte order.
template <class Number>
static std::vector<int> bytesOnTheWire(Number number)
{
    unsigned char bytes[sizeof number];
    memcpy(bytes, &number, sizeof number);
    return {bytes, bytes + sizeof number};
}

TEST(CommandLine, takesItsArgumentsInAnyOrder)
{
    std::vector<std::string> const orders[] = {
        {"-r", "-a", "1.2.3.4", "-p", "4660", "file"},
        {"-a", "1.2.3.4", "-p", "4660", "file", "-r"},
        {"file", "-p", "4660", "-a", "1.2.3.4", "-r"},
        {"-p", "4660", "file", "-r", "-a", "1.2.3.4"},
    };
    for (auto const& arguments : orders) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        Parsed const result = parsed(arguments);
        EXPECT_TRUE(result.line.replay);
        EXPECT_STREQ("1.2.3.4", result.line.address);
        EXPECT_STREQ("file", result.line.fileName);
        EXPECT_EQ(4660, result.line.port);
        EXPECT_EQ(AF_INET, result.device.sin_family);
        EXPECT_EQ((std::vector<int>{0x12, 0x34}), bytesOnTheWire(result.device.sin_port));
        EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), bytesOnTheWire(result.device.sin_addr.s_addr));
    }
}

TEST(CommandLine, recordsUnlessToldToReplay)
{
    EXPECT_FALSE(parsed({"-a", "1.2.3.4", "-p", "4660", "file"}).line.replay);
}

TEST(CommandLine, takesTheLastOfRepeatedArguments)
{
    Parsed const result = parsed(
        {"first", "-p", "1", "-a", "9.9.9.9", "-r", "-p", "4660", "second", "-r", "-a", "1.2.3.4"});
    EXPECT_TRUE(result.line.replay);
    EXPECT_STREQ("1.2.3.4", result.line.address);
    EXPECT_STREQ("second", result.line.fileName);
    EXPECT_EQ(4660, result.line.port);
    EXPECT_EQ((std::vector<int>{0x12, 0x34}), bytesOnTheWire(result.device.sin_port));
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), bytesOnTheWire(result.device.sin_addr.s_addr));
}

TEST(CommandLine, takesAnUnknownOptionForTheFileName)
{
    for (char const* const name : {"-x", "--help", "-", "-rp", "r"}) {
        SCOPED_TRACE(name);
        Parsed const result = parsed({"-a", "1.2.3.4", "-p", "4660", name});
        EXPECT_STREQ(name, result.line.fileName);
        EXPECT_FALSE(result.line.replay);
    }
}

TEST(CommandLine, usesTheLowSixteenBitsOfAnyPortButZero)
{
    struct
    {
        char const* text;
        long port;
        std::vector<int> wire;
    } const cases[] = {
        {"1", 1, {0x00, 0x01}},          {"65535", 65535, {0xFF, 0xFF}},
        {"65536", 65536, {0x00, 0x00}},  {"70196", 70196, {0x12, 0x34}},
        {"-1", -1, {0xFF, 0xFF}},        {"-60876", -60876, {0x12, 0x34}},
        {"4660xyz", 4660, {0x12, 0x34}}, {" +4660", 4660, {0x12, 0x34}},
        {"010", 10, {0x00, 0x0A}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        Parsed const result = parsed({"-a", "1.2.3.4", "-p", c.text, "file"});
        EXPECT_EQ(c.port, result.line.port);
        EXPECT_EQ(c.wire, bytesOnTheWire(result.device.sin_port));
    }
}

TEST(CommandLine, takesAPortThatALongCannotHoldForTheNearestThatItCan)
{
    struct Port
    {
        int64_t number;
        std::vector<int> wire;
    };
    struct
    {
        char const* text;
        Port of32Bits;
        Port of64Bits;
    } const cases[] = {
        {"2147483647", {INT32_MAX, {0xFF, 0xFF}}, {2147483647, {0xFF, 0xFF}}},
        {"2147483648", {INT32_MAX, {0xFF, 0xFF}}, {2147483648, {0x00, 0x00}}},
        {"4294971956", {INT32_MAX, {0xFF, 0xFF}}, {4294971956, {0x12, 0x34}}},
        {"99999999999999999999", {INT32_MAX, {0xFF, 0xFF}}, {INT64_MAX, {0xFF, 0xFF}}},
        {"-2147483648", {INT32_MIN, {0x00, 0x00}}, {-2147483648, {0x00, 0x00}}},
        {"-2147483649", {INT32_MIN, {0x00, 0x00}}, {-2147483649, {0xFF, 0xFF}}},
        {"-99999999999999999999", {INT32_MIN, {0x00, 0x00}}, {INT64_MIN, {0x00, 0x00}}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        Port const& expected = sizeof(long) == sizeof(int32_t) ? c.of32Bits : c.of64Bits;
        Parsed const result = parsed({"-a", "1.2.3.4", "-p", c.text, "file"});
        EXPECT_EQ(expected.number, result.line.port);
        EXPECT_EQ(expected.wire, bytesOnTheWire(result.device.sin_port));
    }
}

TEST(CommandLine, takesEveryAddressThatTheSystemDoes)
{
    struct
    {
        char const* text;
        std::vector<int> wire;
    } const cases[] = {
        {"0.0.0.0", {0, 0, 0, 0}},
        {"255.255.255.254", {255, 255, 255, 254}},
        {"127.1", {127, 0, 0, 1}},
        {"0x7f.0.0.1", {127, 0, 0, 1}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        Parsed const result = parsed({"-a", c.text, "-p", "4660", "file"});
        EXPECT_EQ(c.wire, bytesOnTheWire(result.device.sin_addr.s_addr));
    }
}

TEST(CommandLine, cutsTheFileNameTo79Characters)
{
    for (size_t const length : {1U, 78U, 79U, 80U, 81U, 500U}) {
        SCOPED_TRACE(length);
        std::string const name = std::string(length - 1, 'f') + 'l';
        Parsed const result = parsed({"-a", "1.2.3.4", "-p", "4660", name});
        EXPECT_EQ(name.substr(0, 79), result.line.fileName);
    }
}

TEST(CommandLine, leavesNothingOfALongerFileNameBefore)
{
    EXPECT_STREQ(
        "short",
        parsed({"-a", "1.2.3.4", "-p", "4660", std::string(200, 'f'), "short"}).line.fileName);
}

TEST(CommandLine, cutsTheAddressTo79Characters)
{
    // What follows a blank is not part of an address to the system.
    std::string const address = "1.2.3.4 " + std::string(100, 'a');
    Parsed const result = parsed({"-a", address, "-p", "4660", "file"});
    EXPECT_EQ(address.substr(0, 79), result.line.address);
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4}), bytesOnTheWire(result.device.sin_addr.s_addr));
}

TEST(CommandLine, endsWithTheUsageWhenIncompleteOrWrong)
{
    struct
    {
        char const* name;
        std::vector<std::string> arguments;
    } const cases[] = {
        {"no arguments", {}},
        {"option only", {"-r"}},
        {"file only", {"file"}},
        {"no file", {"-a", "1.2.3.4", "-p", "4660"}},
        {"no file, but replay", {"-a", "1.2.3.4", "-p", "4660", "-r"}},
        {"empty file name", {"-a", "1.2.3.4", "-p", "4660", ""}},
        {"empty file name last", {"-a", "1.2.3.4", "-p", "4660", "file", ""}},
        {"no address", {"-p", "4660", "file"}},
        {"no port", {"-a", "1.2.3.4", "file"}},
        {"port option last", {"-a", "1.2.3.4", "file", "-p"}},
        {"port option last, repeated", {"-a", "1.2.3.4", "-p", "4660", "file", "-p"}},
        {"address option last", {"-p", "4660", "file", "-a"}},
        {"port 0", {"-a", "1.2.3.4", "-p", "0", "file"}},
        {"port 0 last", {"-a", "1.2.3.4", "-p", "4660", "-p", "0", "file"}},
        {"port not a number", {"-a", "1.2.3.4", "-p", "abc", "file"}},
        {"port not decimal", {"-a", "1.2.3.4", "-p", "0x1234", "file"}},
        {"empty port", {"-a", "1.2.3.4", "-p", "", "file"}},
        {"option for the port", {"-a", "1.2.3.4", "-p", "-r", "file"}},
        {"address out of range", {"-a", "300.1.1.1", "-p", "4660", "file"}},
        {"broadcast address", {"-a", "255.255.255.255", "-p", "4660", "file"}},
        {"wrong address before a right one",
         {"-a", "300.1.1.1", "-a", "1.2.3.4", "-p", "4660", "file"}},
        {"host name", {"-a", "localhost", "-p", "4660", "file"}},
        {"empty address", {"-a", "", "-p", "4660", "file"}},
        {"option for the address", {"-a", "-p", "4660", "file"}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        ChildResult const result = runInChild([&c] { parsed(c.arguments); });
        EXPECT_EQ(255, result.exitCode());
        EXPECT_EQ(USAGE, result.output);
    }
}

TEST(CommandLine, endsAtAWrongAddressBeforeItReadsOn)
{
    for (char const* const address : {"300.1.1.1", "255.255.255.255"}) {
        SCOPED_TRACE(address);
        ChildResult const result = runInChild([address] {
            static Parsed s_parsed;
            atexit([] {
                printf("port %ld file \"%s\"\n", s_parsed.line.port, s_parsed.line.fileName);
            });
            parse({"-p", "4660", "-a", address, "-p", "7", "file"}, s_parsed);
        });
        EXPECT_EQ(255, result.exitCode());
        EXPECT_EQ(USAGE + std::string("port 4660 file \"\"\n"), result.output);
    }
}

TEST(CommandLine, printsTheUsageAndEndsWith255)
{
    ChildResult const result = runInChild([] { printUsage(); });
    EXPECT_EQ(255, result.exitCode());
    EXPECT_EQ(USAGE, result.output);
}
