#ifndef DEVICE_SIM_RANDOM_H
#define DEVICE_SIM_RANDOM_H

#include <cstdint>

/// The SplitMix64 step as a hash. A number drawn by what it is for, instead of in sequence, is the
/// same in every run, whatever else was drawn before it.
constexpr uint64_t mix(uint64_t value)
{
    value += 0x9E3779B97F4A7C15;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

#endif
