#include "log_kit/followed_log.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log_frames/file_error.h"
#include "log_frames/i_byte_source.h"

static_assert(sizeof(off_t) == 8, "logs grow past 2 GiB, also on 32-bit machines");

namespace
{

/// The bytes of an open file from one place to another.
class FileRange : public IByteSource
{
public:
    FileRange(int fd, std::string const& name, uint64_t begin, uint64_t end)
        : m_fd(fd),
          m_name(name),
          m_at(begin),
          m_end(end)
    {}

    size_t read(unsigned char* data, size_t size) override
    {
        size_t const wanted = static_cast<size_t>(std::min<uint64_t>(size, m_end - m_at));
        ssize_t count = -1;
        do {
            count = pread(m_fd, data, wanted, static_cast<off_t>(m_at));
        } while (count == -1 && errno == EINTR);
        if (count == -1)
            throw FileError::ofErrno("read", m_name);
        m_at += static_cast<size_t>(count);
        return static_cast<size_t>(count);
    }

private:
    int m_fd;
    std::string const& m_name;
    uint64_t m_at;
    uint64_t m_end;
};

}

FollowedLog::FollowedLog(std::string const& name) : m_name(name)
{
    open();
}

FollowedLog::~FollowedLog()
{
    ::close(m_fd);
}

void FollowedLog::open()
{
    int const fd = ::open(m_name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        throw FileError::ofErrno("read", m_name);
    if (m_fd != -1)
        ::close(m_fd);
    m_fd = fd;
}

void FollowedLog::readNew(std::function<void(Stretch const&)> const& onStretch,
                          std::function<void(DamagedRegion const&)> const& onRegion)
{
    struct stat status = {};
    if (fstat(m_fd, &status) == -1)
        throw FileError::ofErrno("read", m_name);
    auto const size = static_cast<uint64_t>(status.st_size);
    if (size <= m_offset)
        return;

    uint64_t const begin = m_offset;
    FileRange range(m_fd, m_name, begin, size);
    Scanner scanner(range);
    while (auto event = scanner.next()) {
        if (auto* const stretch = std::get_if<Stretch>(&*event)) {
            stretch->offset += begin;
            if (auto const region = m_regions.add(*stretch))
                onRegion(*region);
            onStretch(*stretch);
        } else {
            auto& damage = std::get<Damage>(*event);
            damage.offset += begin;
            if (damage.offset + damage.length >= size)
                return; // what comes may make a frame of it
            m_regions.add(damage);
        }
        m_offset = begin + scanner.offset();
    }
}

bool FollowedLog::hasBegunAgain()
{
    struct stat mine = {};
    struct stat named = {};
    if (fstat(m_fd, &mine) == -1)
        throw FileError::ofErrno("read", m_name);
    if (static_cast<uint64_t>(mine.st_size) < m_offset) {
        restart();
        return true;
    }
    if (stat(m_name.c_str(), &named) == -1)
        return false; // gone; another one may come
    if (named.st_dev == mine.st_dev && named.st_ino == mine.st_ino)
        return false;
    open();
    restart();
    return true;
}

void FollowedLog::restart()
{
    m_offset = 0;
    m_regions = RegionCollector();
}
