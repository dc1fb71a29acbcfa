#ifndef DEVICE_SIM_RANDOM_H
#define DEVICE_SIM_RANDOM_H

#include <cstdint>

/// The SplitMix64 step as a hash. A number depends on what it is for, not on the numbers drawn
/// before it, so every run draws the same.
constexpr uint64_t mix(uint64_t value)
{
    value += 0x9E3779B97F4A7C15;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

#endif
