#ifndef LOG_KIT_LOG_COPY_H
#define LOG_KIT_LOG_COPY_H

#include <cstdint>
#include <functional>
#include <string>

#include "log_frames/output_file.h"
#include "log_kit/log_walk.h"

/// Options of every subcommand that makes a new log of one log.
struct CopyOptions
{
    std::string input;  // "-" for standard input
    std::string output; // must not exist, unless force; never the input
    bool force = false;
};

/// What a copy has read and written.
struct CopyResult
{
    LogTotals read;
    uint64_t bytes = 0; // written; with none there is no output
};

/// Throws FileError when the output is the very file of the input: then it would be emptied while
/// it is read.
void checkOutput(std::string const& output, InputFile const& input);

/// How a subcommand with or without --force treats an existing output.
inline eExisting existing(bool force)
{
    return force ? eExisting::Replace : eExisting::Refuse;
}

/// Reads the log; `onStretch` writes what it makes of the frames. The output appears under its name
/// only when it is whole and on the disk, and not at all if nothing was written. Throws FileError
/// when a file cannot be read or written; then there is no new output. The input stays untouched.
CopyResult copyLog(CopyOptions const& options, Progress& progress,
                   std::function<void(Stretch const&, OutputFile&)> const& onStretch);

#endif
