#ifndef LOG_KIT_CUT_H
#define LOG_KIT_CUT_H

#include "log_kit/log_copy.h"
#include "log_kit/record_filter.h"

/// Options of `log_kit cut`.
struct CutOptions
{
    CopyOptions files;
    FilterOptions filter;
};

struct CutResult : CopyResult
{
    uint64_t frames = 0; // written
};

/// Copies the frames that the filter accepts, in order; otherwise as copyLog(). Throws
/// std::invalid_argument, with a text for the user, when the filter does not go with the input.
CutResult cut(CutOptions const& options, Progress& progress);

#endif
