#include "device_sim/comparison.h"

#include <string>

#include <gtest/gtest.h>

static constexpr size_t IMU = INDEX_OF<ImuData>;
static constexpr size_t GENERIC = INDEX_OF<GenericData>;

// A record for each character: capital letters are ImuData, the others GenericData.
static RecordSequence sequenceOf(std::string const& records)
{
    RecordSequence sequence;
    for (char const c : records) {
        auto const byte = static_cast<unsigned char>(c);
        sequence.add(c < 'a' ? IMU : GENERIC, &byte, 1);
    }
    return sequence;
}

static void expectDifferences(Differences const& expected, Differences const& found)
{
    EXPECT_EQ(expected.missing, found.missing);
    EXPECT_EQ(expected.unexpected, found.unexpected);
    EXPECT_EQ(expected.outOfOrder, found.outOfOrder);
}

TEST(Comparison, tellsWhatIsMissingUnexpectedAndOutOfOrder)
{
    struct ComparisonCase
    {
        char const* expected;
        char const* received;
        Differences total;
    };
    ComparisonCase const cases[] = {
        {"", "", {0, 0, 0}},         {"abc", "abc", {0, 0, 0}},   {"abc", "", {3, 0, 0}},
        {"", "abc", {0, 3, 0}},      {"abc", "ac", {1, 0, 0}},    {"abc", "axbc", {0, 1, 0}},
        {"abc", "acb", {0, 0, 1}},   {"abcd", "dabc", {0, 0, 3}}, {"abc", "bca", {0, 0, 1}},
        {"aabb", "aabb", {0, 0, 0}}, {"aab", "ab", {1, 0, 0}},    {"ab", "abb", {0, 1, 0}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.expected) + " as " + c.received);
        expectDifferences(c.total, compare(sequenceOf(c.expected), sequenceOf(c.received)).total);
    }
}

TEST(Comparison, looksAtTheOrderWithinATypeToo)
{
    Comparison const comparison = compare(sequenceOf("aAbBc"), sequenceOf("ABbac"));
    expectDifferences({0, 0, 2}, comparison.total);
    expectDifferences({0, 0, 0}, comparison.types[IMU]);
    expectDifferences({0, 0, 1}, comparison.types[GENERIC]);
}

TEST(Comparison, keepsEqualBytesOfTwoTypesApart)
{
    unsigned char const byte = 1;
    RecordSequence expected;
    expected.add(IMU, &byte, 1);
    RecordSequence received;
    received.add(GENERIC, &byte, 1);
    Comparison const comparison = compare(expected, received);
    expectDifferences({1, 0, 0}, comparison.types[IMU]);
    expectDifferences({0, 1, 0}, comparison.types[GENERIC]);
}
