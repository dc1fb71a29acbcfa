#include "log_frames/read_ahead.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "log_frames/worker.h"

ReadAhead::ReadAhead(int fd) : m_fd(fd)
{
    m_thread = startWorker([this] { run(); });
}

ReadAhead::~ReadAhead()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
        m_changed.notify_one();
    }
    m_thread.join();
}

ptrdiff_t ReadAhead::read(unsigned char* data, size_t size)
{
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_filled > m_emptied; });
    }
    Block& block = m_blocks[m_emptied % BLOCKS];
    if (block.size <= 0) { // the last block: it stays
        errno = block.error;
        return block.size;
    }
    size_t const count = std::min(size, static_cast<size_t>(block.size) - block.taken);
    memcpy(data, block.bytes.get() + block.taken, count);
    block.taken += count;
    if (block.taken == static_cast<size_t>(block.size)) {
        std::lock_guard const lock(m_mutex);
        ++m_emptied;
        m_changed.notify_one();
    }
    return static_cast<ptrdiff_t>(count);
}

void ReadAhead::run()
{
    ptrdiff_t size = 1;
    for (size_t number = 0; size > 0; ++number) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isEnding || number - m_emptied < BLOCKS; });
        if (m_isEnding)
            return;
        lock.unlock();

        Block& block = m_blocks[number % BLOCKS];
        do {
            size = ::read(m_fd, block.bytes.get(), BLOCK_SIZE);
        } while (size == -1 && errno == EINTR);
        block.size = size;
        block.error = errno;
        block.taken = 0;

        lock.lock();
        m_filled = number + 1;
        m_changed.notify_one();
    }
}
