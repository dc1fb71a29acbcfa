#ifndef LOG_KIT_PROGRESS_H
#define LOG_KIT_PROGRESS_H

#include <cstdint>
#include <optional>
#include <string>

/// Hears how far long work is. This one does nothing.
class Progress
{
public:
    virtual ~Progress() = default;

    /// Work on the file begins. `total` bytes are to be read, if that is known.
    virtual void start(std::string const& file, std::optional<uint64_t> total);

    /// So many bytes of the file are done. Often called: after every few hundred KiB.
    virtual void at(uint64_t done);
};

#endif
