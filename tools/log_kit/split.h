#ifndef LOG_KIT_SPLIT_H
#define LOG_KIT_SPLIT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/log_walk.h"

/// Options of `log_kit split`. At least one of every, size and gap is set; any of them ends a part.
struct SplitOptions
{
    std::string input;            // "-" for standard input
    std::string prefix;           // of the parts' names
    std::optional<int64_t> every; // ms, at least 1: parts are so long, counted from the start
    std::optional<uint64_t> size; // bytes, at least LARGEST_FRAME: parts are no larger
    std::optional<int64_t> gap;   // ms: a longer time without any record ends a part, and so
                                  // does a restart of the counter
    bool force = false;           // replace parts that exist
};

/// One part of the log.
struct SplitPart
{
    std::string file;
    uint64_t frames;
    uint64_t bytes;
    int64_t first; // times of its first record and of its latest one, in ms on the log's time line
    int64_t last;
};

struct SplitResult
{
    LogTotals read;
    std::vector<SplitPart> parts;
};

constexpr unsigned MAX_PARTS = 9999;

/// The name of a part, counted from 1: "drive-0001.log".
std::string partName(std::string const& prefix, unsigned number);

/// Writes the frames to parts, in order. The parts appear under their names together, when all are
/// whole and on the disk. Damage is passed over. Throws FileError, also when there would be more
/// than MAX_PARTS; then there is no new part.
SplitResult split(SplitOptions const& options, Progress& progress);

#endif
