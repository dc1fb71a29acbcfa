#include "command_line.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <arpa/inet.h>

static void copyText(char (&to)[CommandLine::TEXT_SIZE], char const* from)
{
    strncpy(to, from, sizeof to - 1);
    to[sizeof to - 1] = '\0';
}

// Returns the argument after option `i` and moves `i` to it.
static char const* optionValue(int argc, char** argv, int& i)
{
    if (++i >= argc)
        printUsage();
    return argv[i];
}

void printUsage()
{
    puts("log_tool [-r] -a <k4n8-ip> -p <port> <file>");
    puts("-r: replay");
    exit(-1);
}

void parseCommandLine(int argc, char** argv, CommandLine& line, sockaddr_in& device)
{
    if (argc < 2)
        printUsage();

    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-r") == 0) {
            line.replay = true;
        } else if (strcmp(argv[i], "-p") == 0) {
            line.port = strtol(optionValue(argc, argv, i), nullptr, 10);
            device.sin_port = htons(static_cast<uint16_t>(line.port));
        } else if (strcmp(argv[i], "-a") == 0) {
            copyText(line.address, optionValue(argc, argv, i));
            device.sin_addr.s_addr = inet_addr(line.address);
            // This refuses 255.255.255.255 as well: inet_addr returns the same value for it as for
            // an error.
            if (device.sin_addr.s_addr == INADDR_NONE)
                printUsage();
        } else {
            copyText(line.fileName, argv[i]);
        }
    }

    // Checks the port as read, not its low 16 bits. So 65536 is accepted and sends to port 0, on
    // purpose.
    if (line.port == 0 || line.address[0] == '\0' || line.fileName[0] == '\0')
        printUsage();
}
