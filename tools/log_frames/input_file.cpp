#include "log_frames/input_file.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log_frames/file_error.h"

static_assert(sizeof(off_t) == 8, "logs grow past 2 GiB, also on 32-bit machines");

static constexpr uint64_t WORTH_READING_AHEAD = uint64_t{4} << 20;

InputFile::InputFile(std::string const& name)
    : m_name(name == "-" ? "standard input" : name),
      m_isStandardInput(name == "-"),
      m_fd(m_isStandardInput ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC))
{
    struct stat status = {};
    if (m_fd == -1 || fstat(m_fd, &status) == -1) {
        if (m_fd != -1 && !m_isStandardInput)
            ::close(m_fd);
        throw FileError::ofErrno("read", m_name);
    }
    if (!S_ISREG(status.st_mode))
        return;
    // Standard input may have been read in part by somebody else.
    off_t const start = m_isStandardInput ? lseek(m_fd, 0, SEEK_CUR) : 0;
    m_size = start < status.st_size ? static_cast<uint64_t>(status.st_size - start) : 0;
    posix_fadvise(m_fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    if (*m_size < WORTH_READING_AHEAD)
        return;
    try {
        m_ahead = std::make_unique<ReadAhead>(m_fd);
    } catch (std::system_error const&) {
        // There can be no more threads: it is read without one.
    }
}

InputFile::~InputFile()
{
    m_ahead.reset();
    if (!m_isStandardInput)
        ::close(m_fd);
}

ptrdiff_t InputFile::readSome(unsigned char* data, size_t size)
{
    if (m_ahead)
        return m_ahead->read(data, size);
    ptrdiff_t count = -1;
    do {
        count = ::read(m_fd, data, size);
    } while (count == -1 && errno == EINTR);
    return count;
}

size_t InputFile::read(unsigned char* data, size_t size)
{
    ptrdiff_t const count = readSome(data, size);
    if (count == -1)
        throw FileError::ofErrno("read", m_name);

    m_read += static_cast<size_t>(count);
    if (count == 0 && m_size && m_read < *m_size)
        throw FileError(m_name + " has become shorter while it was read");
    return static_cast<size_t>(count);
}

bool InputFile::isSameFile(std::string const& name) const
{
    struct stat mine = {};
    struct stat other = {};
    return fstat(m_fd, &mine) == 0 && stat(name.c_str(), &other) == 0 &&
           mine.st_dev == other.st_dev && mine.st_ino == other.st_ino;
}

bool InputFile::canBeReadTwice(std::string const& name)
{
    struct stat status = {};
    return name != "-" && (stat(name.c_str(), &status) == -1 || S_ISREG(status.st_mode));
}
