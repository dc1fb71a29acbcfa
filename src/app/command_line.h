#ifndef APP_COMMAND_LINE_H
#define APP_COMMAND_LINE_H

#include <cstddef>

#include <netinet/in.h>

/// What the arguments say. Texts are cut to 79 characters.
struct CommandLine
{
    static constexpr size_t TEXT_SIZE = 80;

    char address[TEXT_SIZE] = "";
    char fileName[TEXT_SIZE] = "";
    long port = 0; // as strtol read it
    bool replay = false;
};

/// Prints the usage on standard output and ends the process with status 255.
[[noreturn]] void printUsage();

/// Reads the arguments into `line`, and the device's port and address into `device`, in network
/// byte order. Options may come in any order; of a repeated one the last counts. Any other argument
/// is the file name. Calls printUsage if the address is invalid, or if anything other than "-r" is
/// missing. A port of 0 counts as missing. Other ports are not checked: their low 16 bits are used.
void parseCommandLine(int argc, char** argv, CommandLine& line, sockaddr_in& device);

#endif
