#include "log_kit/cut.h"

CutResult cut(CutOptions const& options, Progress& progress)
{
    RecordFilter filter = makeFilter(options.filter, options.files.input);
    CutResult result;

    // Accepted frames that lie side by side are written in one piece: most logs are cut by time.
    auto const copyAccepted = [&](Stretch const& stretch, OutputFile& output) {
        unsigned char const* const end = stretch.frames.bytes() + stretch.frames.size();
        unsigned char const* begin = nullptr; // of the piece in hand
        for (Frame const frame : stretch.frames) {
            if (filter.accepts(frame)) {
                begin = begin ? begin : frame.bytes();
                ++result.frames;
            } else if (begin) {
                output.write(FrameRange(begin, frame.bytes()));
                begin = nullptr;
            }
        }
        if (begin)
            output.write(FrameRange(begin, end));
    };
    static_cast<CopyResult&>(result) = copyLog(options.files, progress, copyAccepted);
    return result;
}
