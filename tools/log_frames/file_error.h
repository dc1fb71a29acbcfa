#ifndef LOG_FRAMES_FILE_ERROR_H
#define LOG_FRAMES_FILE_ERROR_H

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

/// A file that cannot be read or written. what() is for people: it names the file and the reason.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;

    /// "cannot <action> <file>: <reason of errno>"
    static FileError ofErrno(std::string const& action, std::string const& file)
    {
        int const error = errno; // before anything below can change it
        return FileError("cannot " + action + " " + file + ": " + strerror(error));
    }
};

#endif
