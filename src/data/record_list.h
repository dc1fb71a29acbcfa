#ifndef DATA_RECORD_LIST_H
#define DATA_RECORD_LIST_H

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "record_type.h"

/// The record types, in the order of their codes: a type's index is its code minus 1.
using RecordTypes = std::tuple<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>;

constexpr size_t RECORD_TYPE_COUNT = std::tuple_size_v<RecordTypes>;

constexpr std::array<char const*, RECORD_TYPE_COUNT> RECORD_NAMES = {
    "ImuData", "GnssData", "GnssPvt", "AttitudeData", "GenericData"};

/// One value for each record type, by index.
template <class Value>
using PerType = std::array<Value, RECORD_TYPE_COUNT>;

template <class Record>
inline constexpr size_t INDEX_OF = RecordType<Record>::CODE - 1;

template <class Visitor, size_t... Indices>
void visitRecordType(size_t index, Visitor const& visit, std::index_sequence<Indices...>)
{
    static_assert(((INDEX_OF<std::tuple_element_t<Indices, RecordTypes>> == Indices) && ...));
    ((index == Indices ? visit(std::tuple_element_t<Indices, RecordTypes>{}) : void()), ...);
}

/// Calls `visit` with an empty record of the type with this index. Does nothing if there is none.
template <class Visitor>
void visitRecordType(size_t index, Visitor const& visit)
{
    visitRecordType(index, visit, std::make_index_sequence<RECORD_TYPE_COUNT>());
}

#endif
