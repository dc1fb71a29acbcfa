#ifndef LOG_KIT_RECOVER_H
#define LOG_KIT_RECOVER_H

#include <string>

#include "log_kit/log_walk.h"

/// Options of `log_kit recover`.
struct RecoverOptions
{
    std::string input;  // "-" for standard input
    std::string output; // must not exist, unless force; never the input
    bool force = false;
};

/// Copies every intact frame of the input to the output, in order. The output appears under its
/// name only when it is whole and on the disk, and not at all if the input has no intact frame.
/// Throws FileError when a file cannot be read or written; then there is no new output. The input
/// stays untouched.
LogTotals recover(RecoverOptions const& options, Progress& progress);

#endif
