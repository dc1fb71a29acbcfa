#ifndef HARNESS_RECEIVER_WATCH_H
#define HARNESS_RECEIVER_WATCH_H

#include <cstddef>
#include <cstdint>
#include <string>

/// Looks through /proc at the process that receives on a UDP port of this machine. Throws
/// std::runtime_error if it cannot be seen, or not any more.
class ReceiverWatch
{
public:
    struct Queue
    {
        uint64_t bytes; // waiting, as the kernel accounts them
        uint64_t drops; // datagrams that found the queue full, since the socket was made
    };

    struct Socket
    {
        Queue queue;
        uint64_t inode;
    };

    explicit ReceiverWatch(uint16_t port);
    ~ReceiverWatch();
    ReceiverWatch(ReceiverWatch const&) = delete;
    ReceiverWatch& operator=(ReceiverWatch const&) = delete;

    int pid() const { return m_pid; }
    Queue queue() const;

    /// Whether it waits for something, such as a datagram.
    bool isAsleep() const;

    /// Processor time of its main thread, user and system; exact while it is asleep.
    uint64_t cpuNs() const;

private:
    Socket socket() const;

    uint16_t m_port;
    int m_sockets;
    int m_pid;
    int m_stat;
    int m_schedstat;
};

#endif
