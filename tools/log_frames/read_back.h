#ifndef LOG_FRAMES_READ_BACK_H
#define LOG_FRAMES_READ_BACK_H

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "log_frames/checksum.h"

/// Reads back what is written to a file while more is written, in a thread: that takes as long as
/// writing does, and would double the time.
class ReadBack
{
public:
    /// Reads from the descriptor, which must stay open, without moving its position.
    explicit ReadBack(int fd);
    ~ReadBack();
    ReadBack(ReadBack const&) = delete;
    ReadBack& operator=(ReadBack const&) = delete;

    /// So many bytes have been written so far.
    void written(uint64_t size);

    /// Waits until all of them have been read. Throws std::system_error when that failed.
    Checksum finish();

private:
    void run();
    bool readUpTo(uint64_t size, unsigned char* buffer);
    void stop();

    int m_fd;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    uint64_t m_written = 0;  // guarded by m_mutex
    bool m_isEnding = false; // guarded by m_mutex
    // The thread's own, until it has ended.
    uint64_t m_read = 0;
    int m_error = 0;
    Checksum m_checksum;
    std::thread m_thread;
};

#endif
