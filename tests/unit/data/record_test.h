#ifndef TESTS_DATA_RECORD_TEST_H
#define TESTS_DATA_RECORD_TEST_H

#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

/// The record with one byte of its memory changed.
template <class Record>
Record withByteChanged(Record record, size_t offset)
{
    unsigned char bytes[sizeof record];
    memcpy(bytes, &record, sizeof record);
    bytes[offset] ^= 1;
    memcpy(&record, bytes, sizeof record);
    return record;
}

/// Checks both operators, both ways round.
template <class Record>
void expectEqual(bool equal, Record const& a, Record const& b)
{
    EXPECT_EQ(equal, a == b);
    EXPECT_EQ(equal, b == a);
    EXPECT_EQ(!equal, a != b);
    EXPECT_EQ(!equal, b != a);
}

/// For records of integers only: equal to a copy, unequal once any byte of it differs.
template <class Record>
void expectEveryByteCounts(Record const& record)
{
    Record const copy = record;
    expectEqual(true, record, copy);
    for (size_t offset = 0; offset < sizeof record; ++offset) {
        SCOPED_TRACE(offset);
        expectEqual(false, record, withByteChanged(record, offset));
    }
}

#endif
