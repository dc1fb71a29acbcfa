#include "expected_log.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "frame_header.h"
#include "packet_codec.h"
#include "record_list.h"

uint64_t fingerprint(unsigned char const* data, size_t size)
{
    // FNV-1a: datagrams of one size that differ in a single byte never share a fingerprint.
    uint64_t hash = 0xCBF29CE484222325;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 0x100000001B3;
    return hash;
}

void RecordSequence::add(size_t index, unsigned char const* datagram, size_t datagramSize)
{
    indices.push_back(static_cast<uint8_t>(index));
    fingerprints.push_back(fingerprint(datagram, datagramSize));
}

template <class Record>
static void makeValid(unsigned char (&)[sizeof(Record)])
{}

// A damaged log may hold bytes that are no bool; the wire knows 0 and 1 only.
template <>
void makeValid<AttitudeData>(unsigned char (&payload)[sizeof(AttitudeData)])
{
    for (size_t i = offsetof(AttitudeData, flags); i < sizeof(AttitudeData); ++i)
        payload[i] = payload[i] != 0;
}

template <class Value>
static bool read(std::istream& log, Value& value)
{
    return static_cast<bool>(log.read(reinterpret_cast<char*>(&value), sizeof value));
}

template <class Record>
static bool readRecord(std::istream& log, Record& record)
{
    unsigned char payload[sizeof(Record)];
    uint32_t footer = 0;
    if (!read(log, payload) || !read(log, footer) || footer != FRAME_FOOTER)
        return false;
    makeValid<Record>(payload);
    memcpy(&record, payload, sizeof record);
    return true;
}

// False when there is no further frame or it is damaged.
static bool readFrame(std::istream& log, RecordSequence& sequence)
{
    FrameHeader header = {};
    if (!read(log, header) || header.version != FRAME_VERSION)
        return false;

    bool isComplete = false;
    visitRecordType(header.type - size_t{1}, [&](auto record) {
        isComplete = readRecord(log, record);
        if (!isComplete)
            return;
        auto const datagram = encodePacket(record);
        sequence.add(INDEX_OF<decltype(record)>, datagram.data(), datagram.size());
    });
    return isComplete;
}

RecordSequence readExpectedLog(std::string const& fileName)
{
    std::ifstream log(fileName, std::ios::binary);
    if (!log)
        throw std::system_error(errno, std::generic_category(), "cannot read " + fileName);

    RecordSequence sequence;
    while (log.peek() != std::istream::traits_type::eof()) {
        if (readFrame(log, sequence))
            continue;
        if (sequence.size() == 0)
            throw std::runtime_error(fileName + " is no log: it does not begin with a record");
        fprintf(stderr, "device_sim: %s is damaged behind record %zu\n", fileName.c_str(),
                sequence.size());
        break;
    }
    if (sequence.size() == 0)
        throw std::runtime_error(fileName + " is empty: there is nothing to expect");
    return sequence;
}
