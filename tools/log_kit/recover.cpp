#include "log_kit/recover.h"

LogTotals recover(CopyOptions const& options, Progress& progress)
{
    auto const copy = [](Stretch const& stretch, OutputFile& output) {
        output.write(stretch.frames);
    };
    return copyLog(options, progress, copy).read;
}
