#ifndef DEVICE_SIM_SIMULATION_TIME_H
#define DEVICE_SIM_SIMULATION_TIME_H

#include <cstdint>
#include <limits>

// Times are 64-bit nanoseconds, either of the stream, from its first record on, or of a clock.

constexpr int64_t NS_PER_S = 1'000'000'000;
constexpr int64_t NS_PER_MS = 1'000'000;
constexpr int64_t NS_PER_US = 1'000;

constexpr int64_t NEVER = std::numeric_limits<int64_t>::max();

#endif
