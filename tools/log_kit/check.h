#ifndef LOG_KIT_CHECK_H
#define LOG_KIT_CHECK_H

#include <functional>
#include <string>

#include "log_kit/log_walk.h"

/// Options of `log_kit check`.
struct CheckOptions
{
    std::string file; // "-" for standard input
};

/// Reads and judges every frame. Tells of each damaged region as soon as the frame after it is
/// known. Throws FileError.
LogTotals check(CheckOptions const& options, Progress& progress,
                std::function<void(DamagedRegion const&)> const& onRegion);

#endif
