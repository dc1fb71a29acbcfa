#ifndef LOG_KIT_RECOVER_H
#define LOG_KIT_RECOVER_H

#include "log_kit/log_copy.h"

/// Copies every intact frame of the input to the output, in order; otherwise as copyLog().
LogTotals recover(CopyOptions const& options, Progress& progress);

#endif
