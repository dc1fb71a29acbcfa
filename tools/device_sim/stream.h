#ifndef DEVICE_SIM_STREAM_H
#define DEVICE_SIM_STREAM_H

#include <cstdint>
#include <deque>
#include <limits>
#include <optional>

#include "device_sim/datagram.h"
#include "device_sim/schedule.h"
#include "device_sim/simulation_time.h"
#include "device_sim/vehicle.h"

constexpr uint64_t UNLIMITED = std::numeric_limits<uint64_t>::max();

/// The device's records in the order in which they go out.
class Stream
{
public:
    struct Settings
    {
        Vehicle::Settings vehicle;
        Schedule::Settings schedule;
        uint64_t count = UNLIMITED; // of records
        int64_t duration = NEVER;   // records due later than this do not come
        uint64_t shuffle = 1;       // as many records are brought out of order at a time
    };

    explicit Stream(Settings const& settings);

    /// Nothing once the stream has ended. May be called long before the record is due.
    std::optional<DueRecord> next();

    /// Continues at `time`. `sent` is how many of the records from next() were used; the others do
    /// not count.
    void seek(int64_t time, uint64_t sent);

private:
    void fillWindow();
    void shuffleWindow();

    Settings m_settings;
    Vehicle m_vehicle;
    Schedule m_schedule;
    uint64_t m_given = 0;
    std::deque<DueRecord> m_window;
};

#endif
