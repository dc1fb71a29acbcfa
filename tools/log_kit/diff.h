#ifndef LOG_KIT_DIFF_H
#define LOG_KIT_DIFF_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "log_kit/log_walk.h"
#include "log_kit/time_shift.h"
#include "record_list.h"

/// Options of `log_kit diff`.
struct DiffOptions
{
    std::string a;
    std::string b;                // neither can be a pipe, unless the shift is given
    std::optional<int64_t> shift; // ms by which b is later; found out if not given
    int64_t tolerance = 2;        // ms; so far apart two records may still be the same one
};

/// How the values of a field differ.
struct FieldDifference
{
    uint64_t count = 0;            // of records in which they do
    std::optional<double> largest; // difference; nothing if no two of them are numbers
};

/// How the records of one type differ.
struct TypeDifference
{
    uint64_t identical = 0; // apart from the time shift
    uint64_t differing = 0; // at the same time, with other values
    uint64_t onlyInA = 0;
    uint64_t onlyInB = 0;
    std::vector<FieldDifference> fields; // as recordFields() has them
};

enum class eDifference
{
    OnlyInA,
    OnlyInB,
    Differing,
};

/// Records that follow each other in a log and differ in the same way.
struct DifferenceRun
{
    eDifference kind;
    uint64_t count;
    uint64_t frame; // the first one in its log, from 0; of a differing one in a
    uint64_t lastFrame;
    uint32_t ticks; // of the first one
    uint32_t lastTicks;
    size_t index; // type of the first one
};

struct DiffResult
{
    static constexpr size_t MAX_RUNS = 1000; // that are kept, the first ones

    LogTotals a;
    LogTotals b;
    TimeShift shift;
    PerType<TypeDifference> types;
    std::vector<DifferenceRun> runs; // of each kind in the order of time

    /// Whether both have the same records, apart from the time shift.
    bool isSame() const;
    uint64_t inBoth() const; // identical or differing
};

/// Compares two logs. Two records are the same one when they have the same type and, apart from the
/// time shift, the same time; of several at one time those with the same values belong together.
/// The order of records of one time does not count. Damage is passed over. Throws FileError.
DiffResult diff(DiffOptions const& options, Progress& progress);

#endif
