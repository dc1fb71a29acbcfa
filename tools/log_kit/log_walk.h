#ifndef LOG_KIT_LOG_WALK_H
#define LOG_KIT_LOG_WALK_H

#include <cstdint>
#include <functional>
#include <optional>

#include "log_frames/input_file.h"
#include "log_frames/scanner.h"
#include "log_kit/progress.h"

/// Damage without an intact frame in it.
struct DamagedRegion
{
    uint64_t offset = 0;
    uint64_t length = 0;
    Damage first = {};                   // what is wrong at its start
    uint64_t framesAtMost = 0;           // that can have left their bytes here
    bool endsReplay = false;             // log_tool -r stops within it
    std::optional<uint32_t> ticksBefore; // of the frame before it, if there is one
    std::optional<uint32_t> ticksAfter;  // of the frame after it, if there is one

    /// The time between these frames; unknown without them, and across a restart.
    std::optional<double> seconds() const;
};

/// What a whole log holds.
struct LogTotals
{
    uint64_t bytes = 0;
    uint64_t frames = 0;  // intact ones
    uint64_t regions = 0; // damaged ones
    uint64_t damagedBytes = 0;
    uint64_t framesLostAtMost = 0;
    double secondsLost = 0;     // of the regions where it is known
    uint64_t regionsTimed = 0;  // so many
    bool endsWithFrame = false; // nothing is damaged or cut off at the end

    bool isClean() const { return regions == 0; }

    /// secondsLost; nothing when it is unknown of all the regions.
    std::optional<double> knownSecondsLost() const;
};

/// Counts what a scanner finds, and puts adjoining damages together to regions.
class RegionCollector
{
public:
    void add(Damage const& damage);

    /// Returns the damaged region that ends with these frames, if there is one.
    std::optional<DamagedRegion> add(Stretch const& stretch);

    /// At the end of the log: returns the region that ends there, if there is one.
    std::optional<DamagedRegion> finish(std::optional<uint32_t> ticksAfter = std::nullopt);

    /// Of what was added so far; without `bytes`.
    LogTotals const& totals() const { return m_totals; }

private:
    LogTotals m_totals;
    std::optional<DamagedRegion> m_region;
    std::optional<uint32_t> m_latestTicks;
};

/// Reads the log from start to end. Calls `onStretch` for frames and `onRegion` for damage, in the
/// order of the file. Either may be empty. Throws FileError.
LogTotals walkLog(InputFile& input, Progress& progress,
                  std::function<void(Stretch const&)> const& onStretch,
                  std::function<void(DamagedRegion const&)> const& onRegion);

#endif
