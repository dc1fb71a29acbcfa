#include "receiver_watch.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

static constexpr int ATTEMPTS = 10;

static std::runtime_error receiverGone(uint16_t port)
{
    return std::runtime_error("nobody receives on port " + std::to_string(port));
}

static int openToRead(std::string const& name)
{
    int const fd = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        throw std::runtime_error("cannot read " + name);
    return fd;
}

// The file as it is now; /proc gives it in parts.
static std::string contentOf(int fd)
{
    std::string content;
    std::array<char, 4096> part;
    ssize_t size = 0;
    while ((size = pread(fd, part.data(), part.size(), static_cast<off_t>(content.size()))) > 0)
        content.append(part.data(), static_cast<size_t>(size));
    return content;
}

static bool hasSocket(fs::path const& process, std::string const& link)
{
    std::error_code error; // processes of others, or ended ones, show nothing
    for (auto const& entry : fs::directory_iterator(process / "fd", error)) {
        if (fs::read_symlink(entry.path(), error).string() == link)
            return true;
    }
    return false;
}

static int ownerOf(uint64_t inode, uint16_t port)
{
    std::string const link = "socket:[" + std::to_string(inode) + "]";
    for (auto const& entry : fs::directory_iterator("/proc")) {
        std::string const name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            hasSocket(entry.path(), link))
            return std::stoi(name);
    }
    throw receiverGone(port);
}

ReceiverWatch::ReceiverWatch(uint16_t port)
    : m_port(port),
      m_sockets(openToRead("/proc/net/udp")),
      m_pid(ownerOf(socket().inode, port)),
      m_stat(openToRead("/proc/" + std::to_string(m_pid) + "/stat")),
      m_schedstat(openToRead("/proc/" + std::to_string(m_pid) + "/schedstat"))
{}

ReceiverWatch::~ReceiverWatch()
{
    for (int const fd : {m_sockets, m_stat, m_schedstat})
        close(fd);
}

std::optional<ReceiverWatch::Socket> ReceiverWatch::find(std::string const& table) const
{
    for (size_t at = table.find('\n'); at + 1 < table.size(); at = table.find('\n', at + 1)) {
        unsigned port = 0;
        Socket socket = {};
        int const fields = sscanf(table.c_str() + at + 1,
                                  "%*d: %*8x:%4x %*8x:%*4x %*x %*x:%" SCNx64
                                  " %*x:%*x %*x %*u %*u %" SCNu64 " %*d %*s %" SCNu64,
                                  &port, &socket.queue.bytes, &socket.inode, &socket.queue.drops);
        if (fields == 4 && port == m_port)
            return socket;
    }
    return std::nullopt;
}

ReceiverWatch::Socket ReceiverWatch::socket() const
{
    // While sockets of others come and go, the parts of the table may leave one out.
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        if (auto const found = find(contentOf(m_sockets)))
            return *found;
    }
    throw receiverGone(m_port);
}

ReceiverWatch::Queue ReceiverWatch::queue() const
{
    return socket().queue;
}

bool ReceiverWatch::isAsleep() const
{
    std::string const stat = contentOf(m_stat);
    size_t const nameEnd = stat.rfind(')'); // the name may hold anything
    if (nameEnd == std::string::npos)
        throw receiverGone(m_port);
    return stat.compare(nameEnd, 3, ") S") == 0;
}

uint64_t ReceiverWatch::cpuNs() const
{
    return std::stoull(contentOf(m_schedstat));
}
