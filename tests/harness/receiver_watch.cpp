#include "receiver_watch.h"

#include <array>
#include <filesystem>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

static std::runtime_error receiverGone(uint16_t port)
{
    return std::runtime_error("nobody receives on port " + std::to_string(port));
}

static std::runtime_error receiverEnded(uint16_t port)
{
    return std::runtime_error("the receiver on port " + std::to_string(port) + " has ended");
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

// The hexadecimal number there; 0 without a colon.
static uint64_t behindColon(std::string const& word)
{
    size_t const colon = word.find(':');
    return colon == std::string::npos ? 0 : std::stoull(word.substr(colon + 1), nullptr, 16);
}

static std::vector<std::string> wordsOf(std::string const& line)
{
    std::istringstream words(line);
    return {std::istream_iterator<std::string>(words), {}};
}

static std::optional<ReceiverWatch::Socket> findSocket(std::string const& sockets, uint16_t port)
{
    enum
    {
        LOCAL = 1,  // address:port
        QUEUES = 4, // sending:receiving
        INODE = 9,
        DROPS = 12,
        WORDS
    };
    std::istringstream table(sockets);
    for (std::string line; std::getline(table, line);) {
        std::vector<std::string> const words = wordsOf(line);
        if (words.size() == WORDS && behindColon(words[LOCAL]) == port)
            return ReceiverWatch::Socket{{behindColon(words[QUEUES]), std::stoull(words[DROPS])},
                                         std::stoull(words[INODE])};
    }
    return std::nullopt;
}

ReceiverWatch::Socket ReceiverWatch::socket() const
{
    // While others make and close sockets, a reading may skip one.
    static constexpr int READINGS = 20;
    for (int i = 0; i < READINGS; ++i) {
        if (auto const found = findSocket(contentOf(m_sockets), m_port))
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
        throw receiverEnded(m_port);
    return stat.compare(nameEnd, 3, ") S") == 0;
}

uint64_t ReceiverWatch::cpuNs() const
{
    return std::stoull(contentOf(m_schedstat));
}
