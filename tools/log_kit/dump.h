#ifndef LOG_KIT_DUMP_H
#define LOG_KIT_DUMP_H

#include <cstdint>
#include <functional>
#include <string>

#include "log_kit/log_walk.h"
#include "log_kit/record_filter.h"

/// Options of `log_kit dump`.
struct DumpOptions
{
    std::string file; // "-" for standard input, but not to follow it
    FilterOptions filter;
};

/// A record that is shown.
struct DumpedRecord
{
    Frame frame;
    uint64_t number; // of the frame, from 0
    uint64_t offset; // in the file
    int64_t time;    // since the start of the log, in ms
};

/// Where the records and damages go.
struct DumpOutput
{
    std::function<void(DumpedRecord const&)> onRecord;
    std::function<void(DamagedRegion const&)> onRegion;
};

/// Shows the records that the filter accepts, in the order of the file. Throws FileError, and
/// std::invalid_argument when the filter does not go with the file.
LogTotals dump(DumpOptions const& options, DumpOutput const& output);

/// What follow() asks and tells, apart from records.
struct FollowHooks
{
    std::function<bool()> wait;         // until there may be more; false ends following
    std::function<void()> onBeginAgain; // a new file has come under the name
};

/// Shows the records of a log that is being written, and those that come. A frame that is not whole
/// yet waits. Returns when `wait` says so. Throws like dump().
void follow(DumpOptions const& options, DumpOutput const& output, FollowHooks const& hooks);

#endif
