#ifndef DATA_RECORD_TYPE_H
#define DATA_RECORD_TYPE_H

#include <cstdint>
#include <type_traits>

#include "attitude_data.h"
#include "generic_data.h"
#include "gnss_data.h"
#include "imu_data.h"

/// The type code and payload size of a record, the same in device datagrams and in log frames.
///
/// The log holds a record's bytes as they lie in memory, little-endian: moving or widening a field
/// breaks every old log.
template <class Record, uint8_t Code, unsigned PayloadSize>
struct RecordTypeOf
{
    static_assert(sizeof(Record) == PayloadSize);
    static_assert(std::is_trivially_copyable_v<Record>);

    static constexpr uint8_t CODE = Code;
    static constexpr unsigned PAYLOAD_SIZE = PayloadSize;
};

template <class Record>
struct RecordType;

template <>
struct RecordType<ImuData> : RecordTypeOf<ImuData, 1, 28>
{};
template <>
struct RecordType<GnssData> : RecordTypeOf<GnssData, 2, 96>
{};
template <>
struct RecordType<GnssPvt> : RecordTypeOf<GnssPvt, 3, 72>
{};
template <>
struct RecordType<AttitudeData> : RecordTypeOf<AttitudeData, 4, 24>
{};
template <>
struct RecordType<GenericData> : RecordTypeOf<GenericData, 5, 12>
{};

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

/// The time stamp by which a record is paced, in milliseconds of the device's clock.
template <class Record>
uint32_t ticksOf(Record const& record)
{
    return record.ticks;
}
inline uint32_t ticksOf(GnssData const& record)
{
    return record.getTicks();
}

#endif
