#include "device_sim/comparison.h"

#include <algorithm>
#include <tuple>
#include <vector>

using Position = uint32_t;
static constexpr Position UNPAIRED = UINT32_MAX;

namespace
{
struct Key
{
    uint64_t fingerprint;
    Position position;
    uint8_t index;

    bool isSameRecord(Key const& other) const
    {
        return fingerprint == other.fingerprint && index == other.index;
    }
    bool operator<(Key const& other) const
    {
        return std::tie(fingerprint, index, position) <
               std::tie(other.fingerprint, other.index, other.position);
    }
};
}

static std::vector<Key> sortedKeys(RecordSequence const& sequence)
{
    std::vector<Key> keys;
    keys.reserve(sequence.size());
    for (size_t i = 0; i < sequence.size(); ++i)
        keys.push_back({sequence.fingerprints[i], static_cast<Position>(i), sequence.indices[i]});
    std::sort(keys.begin(), keys.end());
    return keys;
}

static void count(Comparison& comparison, uint8_t index, uint64_t Differences::*difference)
{
    ++(comparison.types[index].*difference);
    ++(comparison.total.*difference);
}

// For each received record the position at which it was expected. Counts the records without one.
static std::vector<Position> pair(RecordSequence const& expected, RecordSequence const& received,
                                  Comparison& comparison)
{
    std::vector<Key> const wanted = sortedKeys(expected);
    std::vector<Key> const got = sortedKeys(received);
    std::vector<Position> positions(received.size(), UNPAIRED);

    auto w = wanted.begin();
    auto g = got.begin();
    while (w != wanted.end() && g != got.end()) {
        if (w->isSameRecord(*g)) {
            positions[g++->position] = w++->position;
        } else if (*w < *g) {
            count(comparison, w++->index, &Differences::missing);
        } else {
            count(comparison, g++->index, &Differences::unexpected);
        }
    }
    for (; w != wanted.end(); ++w)
        count(comparison, w->index, &Differences::missing);
    for (; g != got.end(); ++g)
        count(comparison, g->index, &Differences::unexpected);
    return positions;
}

// Whether the position comes after the latest one so far. If so, it becomes the latest.
static bool isBehind(Position position, Position& latest)
{
    bool const behind = position < latest;
    latest = std::max(latest, position);
    return behind;
}

Comparison compare(RecordSequence const& expected, RecordSequence const& received)
{
    Comparison comparison;
    std::vector<Position> const positions = pair(expected, received, comparison);

    Position latest = 0;
    PerType<Position> latestOfType = {};
    for (size_t i = 0; i < positions.size(); ++i) {
        if (positions[i] == UNPAIRED)
            continue;
        uint8_t const index = received.indices[i];
        if (isBehind(positions[i], latest))
            ++comparison.total.outOfOrder;
        if (isBehind(positions[i], latestOfType[index]))
            ++comparison.types[index].outOfOrder;
    }
    return comparison;
}
