#ifndef LOGFILE_LOG_FILE_H
#define LOGFILE_LOG_FILE_H

#include <cstdio>
#include <string>

/// An open log file; it may grow past 2 GiB on a 32-bit machine.
class LogFile
{
public:
    enum direction_e
    {
        Read = 0, // the file must exist
        Write = 1 // creates or empties the file
    };

    /// Throws std::system_error if the file cannot be opened. Reading also needs the permission to
    /// write, although nothing is written.
    LogFile(std::string name, direction_e direction);

    /// Writes what is still buffered and closes the file.
    virtual ~LogFile();
    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    /// Never null; closed with this object.
    FILE* stream() const { return m_stream; }

private:
    FILE* m_stream;
};

#endif
