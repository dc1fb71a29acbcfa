#include "log_kit/recover.h"

#include "log_frames/file_error.h"
#include "log_frames/output_file.h"

LogTotals recover(RecoverOptions const& options, Progress& progress)
{
    InputFile input(options.input);
    if (input.isSameFile(options.output))
        throw FileError("cannot write " + options.output + ": it is the log that is read");
    OutputFile output(options.output, options.force ? eExisting::Replace : eExisting::Refuse);

    LogTotals const totals = walkLog(
        input, progress, [&](Stretch const& stretch) { output.write(stretch.frames); }, nullptr);
    if (totals.frames > 0)
        output.publish();
    return totals;
}
