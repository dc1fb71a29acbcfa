#include "log_frames/read_back.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include <unistd.h>

#include "log_frames/worker.h"

static constexpr size_t BUFFER_SIZE = size_t{256} << 10;

ReadBack::ReadBack(int fd) : m_fd(fd)
{
    m_thread = startWorker([this] { run(); });
}

ReadBack::~ReadBack()
{
    stop();
}

void ReadBack::written(uint64_t size)
{
    std::lock_guard const lock(m_mutex);
    m_written = size;
    m_changed.notify_one();
}

Checksum ReadBack::finish()
{
    stop();
    if (m_error != 0)
        throw std::system_error(m_error, std::generic_category());
    return m_checksum;
}

void ReadBack::stop()
{
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
        m_changed.notify_one();
    }
    m_thread.join();
}

void ReadBack::run()
{
    std::unique_ptr<unsigned char[]> const buffer(new unsigned char[BUFFER_SIZE]);
    for (;;) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isEnding || m_written > m_read; });
        uint64_t const written = m_written;
        lock.unlock();
        if (written == m_read || !readUpTo(written, buffer.get()))
            return;
    }
}

bool ReadBack::readUpTo(uint64_t size, unsigned char* buffer)
{
    while (m_read < size) {
        size_t const wanted = static_cast<size_t>(std::min<uint64_t>(size - m_read, BUFFER_SIZE));
        ssize_t const count = pread(m_fd, buffer, wanted, static_cast<off_t>(m_read));
        if (count == -1 && errno == EINTR)
            continue;
        if (count <= 0) { // at 0 the file is shorter than what was written
            m_error = count == 0 ? EIO : errno;
            return false;
        }
        m_checksum.add(buffer, static_cast<size_t>(count));
        m_read += static_cast<size_t>(count);
    }
    return true;
}
