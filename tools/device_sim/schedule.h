#ifndef DEVICE_SIM_SCHEDULE_H
#define DEVICE_SIM_SCHEDULE_H

#include <cstddef>
#include <cstdint>

#include "device_sim/simulation_time.h"
#include "record_list.h"

/// Tells when which record is due: each type at its own rate, from time 0 on. Records due at the
/// same time come in the order of their types.
class Schedule
{
public:
    struct Settings
    {
        PerType<double> rates = {100.0, 5.0, 5.0, 20.0, 1.0}; // Hz; 0 is off
        int64_t silenceEvery = NEVER;                         // after this time with records ...
        int64_t silenceFor = 0; // ... this time goes by without any, and so on
    };

    struct Slot
    {
        int64_t due; // NEVER when all types are off
        size_t index;
    };

    explicit Schedule(Settings const& settings);

    Slot next();

    /// Continues with the first records due at `time` or later.
    void seek(int64_t time);

private:
    int64_t dueOf(size_t index, uint64_t number) const;
    void select(size_t index, uint64_t number);
    Slot takeEarliest();

    Settings m_settings;
    PerType<uint64_t> m_numbers = {}; // of each type's next record
    PerType<int64_t> m_dues = {};     // when that one is due
};

#endif
