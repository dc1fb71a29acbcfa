#ifndef LOG_KIT_FOLLOWED_LOG_H
#define LOG_KIT_FOLLOWED_LOG_H

#include <cstdint>
#include <functional>
#include <string>

#include "log_frames/scanner.h"
#include "log_kit/log_walk.h"

/// A log that is being written, read as far as it is whole: a frame that is not, and damage with no
/// frame after it, wait until there is more.
class FollowedLog
{
public:
    /// Throws FileError when there is no such file.
    explicit FollowedLog(std::string const& name);
    ~FollowedLog();
    FollowedLog(FollowedLog const&) = delete;
    FollowedLog& operator=(FollowedLog const&) = delete;

    /// Calls back for what has come since the last call, in the order of the file. Throws
    /// FileError.
    void readNew(std::function<void(Stretch const&)> const& onStretch,
                 std::function<void(DamagedRegion const&)> const& onRegion);

    /// Whether there is another file under the name now, or the same one has been emptied. If so,
    /// readNew() goes on at its start.
    bool hasBegunAgain();

private:
    void open();
    void restart();

    std::string m_name;
    int m_fd = -1;
    uint64_t m_offset = 0; // up to which all has been told
    RegionCollector m_regions;
};

#endif
