#include "log_kit/log_copy.h"

#include "log_frames/file_error.h"

void checkOutput(std::string const& output, InputFile const& input)
{
    if (input.isSameFile(output))
        throw FileError("cannot write " + output + ": it is the log that is read");
}

CopyResult copyLog(CopyOptions const& options, Progress& progress,
                   std::function<void(Stretch const&, OutputFile&)> const& onStretch)
{
    InputFile input(options.input);
    checkOutput(options.output, input);
    OutputFile output(options.output, existing(options.force));

    CopyResult result;
    result.read = walkLog(
        input, progress, [&](Stretch const& stretch) { onStretch(stretch, output); }, nullptr);
    result.bytes = output.size();
    if (result.bytes > 0)
        output.publish();
    return result;
}
