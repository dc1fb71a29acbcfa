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
    // A full disk may show only now, when the last frames are written. Nobody else can report it.
    if (fclose(m_stream) != 0)
        printf("File close failed errno %d\n", errno);
}
