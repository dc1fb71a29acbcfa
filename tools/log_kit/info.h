#ifndef LOG_KIT_INFO_H
#define LOG_KIT_INFO_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/gap_finder.h"
#include "log_kit/gnss_summary.h"
#include "log_kit/log_walk.h"
#include "log_kit/rate_windows.h"
#include "log_kit/replay_forecast.h"
#include "log_kit/time_line.h"

/// Options of `log_kit info`.
struct InfoOptions
{
    std::string file;          // "-" for standard input
    std::optional<double> gap; // s; longer ones are told. By default five times the type's median
                               // interval, at least 0.5 s
    std::optional<double> shortestGap; // s; below 0.5 to be told of shorter ones by default, too
};

/// What the log holds of one record type.
struct TypeInfo
{
    uint64_t count = 0;
    uint64_t bytes = 0;
    std::optional<uint32_t> firstTicks;
    std::optional<uint32_t> lastTicks;
    std::optional<Rate> rate;
};

/// Where the device's counter jumped.
struct JumpInfo
{
    Jump jump;
    uint64_t frame;  // number of the record after the jump, from 0
    uint64_t offset; // of its frame in the file
};

/// What is in a log.
struct Info
{
    static constexpr size_t MAX_JUMPS = 10000; // that are kept, the first ones

    LogTotals totals;
    PerType<TypeInfo> types;

    std::optional<uint32_t> firstTicks; // of the first and the last record with a stamp
    std::optional<uint32_t> lastTicks;
    std::optional<double> seconds; // from the earliest to the latest time, through wraps

    std::vector<Gap> gaps;
    std::vector<JumpInfo> jumps;
    uint64_t wraps = 0;
    uint64_t backs = 0;
    uint64_t restarts = 0;

    GnssSummary gnss;
    uint64_t implausible = 0; // records with a value that cannot be

    ReplayForecast replay;
    std::optional<uint64_t> replayEndsAt; // offset of the damage that ends it
};

/// Reads a log and sums it up. Throws FileError.
Info info(InfoOptions const& options, Progress& progress);

#endif
