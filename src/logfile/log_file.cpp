#include "log_file.h"

#include <cerrno>
#include <system_error>

// cppcheck-suppress passedByValue ; callers hand the name over
LogFile::LogFile(std::string name, direction_e direction)
    : m_stream(fopen64(name.c_str(), direction == Write ? "w+" : "r+"))
{
    if (m_stream)
        return;
    int const error = errno; // before the message is put together
    throw std::system_error(error, std::generic_category(), "LogFile: failed to open file " + name);
}

LogFile::~LogFile()
{
    // The last frames may only now have met a full disk: say so, nobody else can.
    if (fclose(m_stream) != 0)
        printf("File close failed errno %d\n", errno);
}
