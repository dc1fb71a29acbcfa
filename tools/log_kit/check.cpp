#include "log_kit/check.h"

LogTotals check(CheckOptions const& options, Progress& progress,
                std::function<void(DamagedRegion const&)> const& onRegion)
{
    InputFile input(options.file);
    return walkLog(input, progress, nullptr, onRegion);
}
