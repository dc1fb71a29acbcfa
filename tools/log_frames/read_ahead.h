#ifndef LOG_FRAMES_READ_AHEAD_H
#define LOG_FRAMES_READ_AHEAD_H

#include <array>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>

/// Reads a file in a thread, some blocks ahead of whoever looks at its bytes. Only for files whose
/// reads do not wait for anybody: not for pipes.
class ReadAhead
{
public:
    /// Reads from the descriptor, which must stay open, from its position on. Throws
    /// std::system_error when there can be no thread.
    explicit ReadAhead(int fd);
    ~ReadAhead();
    ReadAhead(ReadAhead const&) = delete;
    ReadAhead& operator=(ReadAhead const&) = delete;

    /// Like the system's read(): the number of bytes, 0 at the end, -1 with errno.
    ptrdiff_t read(unsigned char* data, size_t size);

private:
    static constexpr size_t BLOCKS = 4;
    static constexpr size_t BLOCK_SIZE = size_t{256} << 10;

    struct Block
    {
        std::unique_ptr<unsigned char[]> bytes{new unsigned char[BLOCK_SIZE]};
        ptrdiff_t size = 0; // as the system's read() gave it
        int error = 0;
        size_t taken = 0;
    };

    void run();

    int m_fd;
    std::array<Block, BLOCKS> m_blocks; // each belongs to the side whose turn it is
    std::mutex m_mutex;
    std::condition_variable m_changed;
    size_t m_filled = 0;     // blocks so far; guarded by m_mutex
    size_t m_emptied = 0;    // guarded by m_mutex
    bool m_isEnding = false; // guarded by m_mutex
    std::thread m_thread;
};

#endif
