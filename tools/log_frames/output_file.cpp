#include "log_frames/output_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log_frames/file_error.h"
#include "log_frames/read_back.h"
#include "log_frames/unfinished_files.h"

static_assert(sizeof(off_t) == 8, "logs grow past 2 GiB, also on 32-bit machines");

// What comes in small pieces is written in one of about this size.
static constexpr size_t BUFFER_SIZE = size_t{128} << 10;

// So much is sent on its way to the disk while the rest is still made: the wait at the end is
// short.
static constexpr uint64_t START_WRITING_AT = uint64_t{8} << 20;

static FileError existsError(std::string const& name)
{
    return FileError(name + " exists already; --force replaces it");
}

// The name to write to: where a symbolic link leads.
static std::string resolve(std::string const& name)
{
    std::error_code error;
    auto const path = std::filesystem::canonical(name, error);
    return error ? name : path.string();
}

static void checkTarget(std::string const& name, eExisting existing)
{
    struct stat status = {};
    if (stat(name.c_str(), &status) == -1)
        return; // what is wrong with the folder shows when the file is made
    if (S_ISDIR(status.st_mode))
        throw FileError("cannot write " + name + ": it is a folder");
    if (!S_ISREG(status.st_mode))
        throw FileError("cannot write " + name + ": it is not a regular file");
    if (existing == eExisting::Refuse)
        throw existsError(name);
}

OutputFile::OutputFile(std::string const& name, eExisting existing)
    : m_name(name),
      m_target(resolve(name)),
      m_existing(existing)
{
    checkTarget(m_name, existing);

    // A name that nobody else takes: the process's number, and another one if a crash left that.
    for (unsigned attempt = 0; m_fd == -1; ++attempt) {
        m_temporary = std::make_unique<UnfinishedFile>(
            m_target + ".part" + std::to_string(getpid()) + "-" + std::to_string(attempt));
        m_fd = ::open(m_temporary->name().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_fd == -1 && (errno != EEXIST || attempt == 1000))
            throw FileError::ofErrno("write", m_name);
    }
    m_readBack = std::make_unique<ReadBack>(m_fd);
    m_buffer.reserve(BUFFER_SIZE);
}

OutputFile::~OutputFile()
{
    m_readBack.reset();
    if (m_fd != -1)
        ::close(m_fd);
    if (m_temporary)
        unlink(m_temporary->name().c_str());
}

void OutputFile::write(unsigned char const* data, size_t size)
{
    m_size += size;
    if (m_buffer.size() + size <= BUFFER_SIZE) {
        m_buffer.insert(m_buffer.end(), data, data + size);
        return;
    }
    flush();
    if (size <= BUFFER_SIZE / 2)
        m_buffer.insert(m_buffer.end(), data, data + size);
    else
        writeThrough(data, size); // copying it first would gain nothing
}

void OutputFile::flush()
{
    writeThrough(m_buffer.data(), m_buffer.size());
    m_buffer.clear();
}

void OutputFile::writeThrough(unsigned char const* data, size_t size)
{
    if (size == 0)
        return;
    m_checksum.add(data, size);
    writeAll(data, size);
    m_writtenThrough += size;
    m_readBack->written(m_writtenThrough);

    if (m_writtenThrough - m_startedUpTo < START_WRITING_AT)
        return;
    sync_file_range(m_fd, static_cast<off_t>(m_startedUpTo),
                    static_cast<off_t>(m_writtenThrough - m_startedUpTo), SYNC_FILE_RANGE_WRITE);
    m_startedUpTo = m_writtenThrough;
}

void OutputFile::writeAll(unsigned char const* data, size_t size)
{
    while (size > 0) {
        ssize_t const count = ::write(m_fd, data, size);
        if (count == -1 && errno == EINTR)
            continue;
        if (count == -1)
            throw FileError::ofErrno("write", m_name);
        data += count;
        size -= static_cast<size_t>(count);
    }
}

void OutputFile::finish()
{
    flush();
    if (fsync(m_fd) == -1)
        throw FileError::ofErrno("write", m_name);
    compare();
    m_readBack.reset();
    ::close(m_fd);
    m_fd = -1;
    m_buffer = {};
}

void OutputFile::publish()
{
    if (m_fd != -1)
        finish();
    rename();
}

void OutputFile::compare()
{
    try {
        if (m_readBack->finish() == m_checksum)
            return;
    } catch (std::system_error const& error) {
        throw FileError("cannot read back " + m_name + ": " + error.code().message());
    }
    throw FileError("cannot write " + m_name + ": other bytes were read back");
}

void OutputFile::rename()
{
    char const* const temporary = m_temporary->name().c_str();

    // A link does not replace a file that has come meanwhile. Some file systems have none.
    if (m_existing == eExisting::Refuse) {
        if (link(temporary, m_target.c_str()) == 0)
            unlink(temporary);
        else if (errno == EEXIST)
            throw existsError(m_name);
        else
            m_existing = eExisting::Replace;
    }
    if (m_existing == eExisting::Replace && ::rename(temporary, m_target.c_str()) == -1)
        throw FileError::ofErrno("write", m_name);
    m_temporary.reset();

    // The name itself must reach the disk, too.
    std::string const folder = std::filesystem::absolute(m_target).parent_path().string();
    int const fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd == -1)
        return; // a folder that may be written but not read
    fsync(fd);
    ::close(fd);
}
