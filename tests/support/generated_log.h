#ifndef TESTS_GENERATED_LOG_H
#define TESTS_GENERATED_LOG_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Frames back to back, each as its own bytes, so that a test knows what must survive.
using Frames = std::vector<std::string>;

/// `count` frames of all types in random order, 10 ms apart from `firstTicks` on, with random
/// payloads. The same for the same seed.
Frames generateFrames(unsigned seed, size_t count, uint32_t firstTicks = 1000);

/// A GnssData frame with these bytes in its payload, `at` bytes from the frame's start.
std::string gnssFrameAround(std::string const& content, size_t at);

/// A GenericData frame.
std::string genericFrame(uint32_t ticks);

std::string joined(Frames const& frames);

#endif
