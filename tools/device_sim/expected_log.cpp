#include "device_sim/expected_log.h"

#include <cstdio>
#include <stdexcept>

#include "log_frames/input_file.h"
#include "log_frames/replay_reader.h"
#include "packet_codec.h"

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

static void addRecord(RecordSequence& sequence, Frame frame)
{
    visitRecordType(frame.index(), [&](auto record) {
        using Record = decltype(record);
        auto const datagram = encodePacket(frame.record<Record>());
        sequence.add(INDEX_OF<Record>, datagram.data(), datagram.size());
    });
}

RecordSequence readExpectedLog(std::string const& fileName)
{
    InputFile file(fileName);
    ReplayReader log(file);
    RecordSequence sequence;

    while (auto const frame = log.next())
        addRecord(sequence, *frame);

    bool const isEmpty = sequence.size() == 0;
    if (isEmpty && log.isAtEnd())
        throw std::runtime_error(fileName + " is empty: there is nothing to expect");
    if (isEmpty)
        throw std::runtime_error(fileName + " is no log: it does not begin with a record");
    if (!log.isAtEnd())
        fprintf(stderr, "device_sim: %s is damaged behind record %zu\n", fileName.c_str(),
                sequence.size());
    return sequence;
}
