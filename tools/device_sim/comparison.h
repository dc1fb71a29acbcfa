#ifndef DEVICE_SIM_COMPARISON_H
#define DEVICE_SIM_COMPARISON_H

#include <cstdint>

#include "device_sim/expected_log.h"
#include "record_list.h"

struct Differences
{
    uint64_t missing = 0;    // expected, not received
    uint64_t unexpected = 0; // received, not expected
    uint64_t outOfOrder = 0; // received behind one that should have come later
};

struct Comparison
{
    PerType<Differences> types = {}; // order: among the records of the type
    Differences total;               // order: among all
};

/// Compares by content: equal records are paired in their order.
Comparison compare(RecordSequence const& expected, RecordSequence const& received);

#endif
