#ifndef LOG_KIT_MERGE_H
#define LOG_KIT_MERGE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/log_walk.h"

/// Options of `log_kit merge`.
struct MergeOptions
{
    std::string output; // must not exist, unless force; never an input
    std::vector<std::string> inputs;
    bool force = false;
};

/// One of the logs that were merged.
struct MergedLog
{
    LogTotals totals;
    std::optional<int64_t> first; // times of its records on the common time line, in ms
    std::optional<int64_t> last;
    std::optional<int64_t> clock; // common time less UTC, in ms, if it has UTC
};

/// Two logs with records of the same time span.
struct Overlap
{
    size_t a; // numbers of the logs, a < b
    size_t b;
    int64_t from; // in ms on the common time line; its value modulo 2^32 is in ticks
    int64_t to;
};

struct MergeResult
{
    std::vector<MergedLog> logs; // in the order of the inputs
    uint64_t frames = 0;         // written; with none there is no output
    std::vector<Overlap> overlaps;

    /// Pairs of logs whose UTC says that they are not of one run of the device's counter.
    std::vector<std::pair<size_t, size_t>> otherClocks() const;
};

/// Writes the frames of all logs in the order of their unwrapped times. Each log keeps its order,
/// and of records of the same time those of the log that was named first come first.
///
/// Logs count as those of one device that kept running: one begins within half a round of the
/// counter (24 days) before or after the first one. Damage is passed over. Throws FileError; then
/// there is no new output.
MergeResult merge(MergeOptions const& options, Progress& progress);

#endif
