// The input is the arguments after the program's name, separated by zero bytes. There are none if
// it is empty.

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>

#include "byte_source.h"
#include "command_line.h"
#include "console.h"
#include "require.h"

static constexpr size_t TEXT_LIMIT = 79;
static constexpr char const* USAGE = "log_tool [-r] -a <k4n8-ip> -p <port> <file>\n-r: replay\n";

namespace
{

struct Exited
{
    int status;
};

struct Expected
{
    bool usage = false;
    bool replay = false;
    long port = 0;
    std::string address;
    in_addr_t numericAddress = 0;
    std::string fileName;
};

}

static bool s_parsing = false;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status);

void __wrap_exit(int status)
{
    if (s_parsing)
        throw Exited{status};
    __real_exit(status);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

static std::vector<std::string> argumentsIn(uint8_t const* data, size_t size)
{
    std::vector<std::string> arguments;
    if (size == 0)
        return arguments;
    arguments.emplace_back();
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            arguments.emplace_back();
        else
            arguments.back() += static_cast<char>(data[i]);
    }
    return arguments;
}

// The number that a text starts with; the nearest one that a long can hold.
static long numberIn(std::string const& text)
{
    size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string::npos)
        return 0;
    bool const negative = text[at] == '-';
    if (negative || text[at] == '+')
        ++at;

    long value = 0; // negative: there is one more of these
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        if (__builtin_mul_overflow(value, 10L, &value) ||
            __builtin_sub_overflow(value, long{text[at] - '0'}, &value))
            return negative ? LONG_MIN : LONG_MAX;
    }
    if (negative)
        return value;
    return value == LONG_MIN ? LONG_MAX : -value;
}

// False where the arguments end.
static bool takeArgument(std::vector<std::string> const& arguments, size_t& at, Expected& expected)
{
    std::string const& argument = arguments[at++];
    if (argument == "-r") {
        expected.replay = true;
    } else if (argument != "-p" && argument != "-a") {
        expected.fileName = argument.substr(0, TEXT_LIMIT);
    } else if (at == arguments.size()) {
        return false;
    } else if (argument == "-p") {
        expected.port = numberIn(arguments[at++]);
    } else {
        in_addr address = {};
        expected.address = arguments[at++].substr(0, TEXT_LIMIT);
        if (!inet_aton(expected.address.c_str(), &address) || address.s_addr == INADDR_BROADCAST)
            return false;
        expected.numericAddress = address.s_addr;
    }
    return true;
}

static Expected expectedOf(std::vector<std::string> const& arguments)
{
    Expected expected;
    for (size_t at = 0; at < arguments.size();) {
        if (!takeArgument(arguments, at, expected)) {
            expected.usage = true;
            return expected;
        }
    }
    expected.usage = expected.port == 0 || expected.address.empty() || expected.fileName.empty();
    return expected;
}

// Whether the arguments were taken; if not, the program would have ended with the usage.
static bool parse(std::vector<std::string> const& arguments, CommandLine& line, sockaddr_in& device)
{
    std::vector<ExactBytes> texts;
    std::vector<char*> argv;
    auto add = [&](char const* text) {
        texts.emplace_back(reinterpret_cast<uint8_t const*>(text), strlen(text) + 1);
        argv.push_back(reinterpret_cast<char*>(const_cast<uint8_t*>(texts.back().data())));
    };

    add("log_tool");
    for (auto const& argument : arguments)
        add(argument.c_str());
    auto const argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);

    s_parsing = true;
    int status = 0;
    try {
        parseCommandLine(argc, argv.data(), line, device);
    } catch (Exited const& exited) {
        status = exited.status;
    }
    s_parsing = false;
    require(status == 0 || status == -1, "the usage ends with status 255");
    return status == 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    std::vector<std::string> const arguments = argumentsIn(data, size);
    Expected const expected = expectedOf(arguments);
    CommandLine line;
    sockaddr_in device = {};
    device.sin_family = AF_INET;

    bool const taken = parse(arguments, line, device);

    require(taken == !expected.usage, "the usage answers what is incomplete or no address");
    require(takeOutput() == (taken ? "" : USAGE), "the usage is printed where it answers");
    if (!taken)
        return 0;
    require(line.replay == expected.replay, "-r replays");
    require(line.port == expected.port, "the port is the number that its text starts with");
    require(line.address == expected.address, "the address is cut to 79 characters");
    require(line.fileName == expected.fileName, "the file name is cut to 79 characters");
    require(device.sin_family == AF_INET, "the device's family stays");
    require(device.sin_addr.s_addr == expected.numericAddress, "the device has the address");
    require(device.sin_port == htons(static_cast<uint16_t>(expected.port & 0xFFFF)),
            "the device has the port's low 16 bits");
    return 0;
}
