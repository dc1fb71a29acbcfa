#ifndef DEVICE_SIM_EXPECTED_LOG_H
#define DEVICE_SIM_EXPECTED_LOG_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A datagram's content in 8 bytes, so that millions of them fit into memory.
uint64_t fingerprint(unsigned char const* data, size_t size);

/// Records in their order, each by its type and the fingerprint of its datagram.
struct RecordSequence
{
    std::vector<uint8_t> indices; // of the records' types
    std::vector<uint64_t> fingerprints;

    size_t size() const { return indices.size(); }
    void add(size_t index, unsigned char const* datagram, size_t datagramSize);
};

/// The records that a replay of this log sends: those before the end of the file or the first
/// damage, which is reported on standard error. Throws FileError when the log cannot be read, and
/// std::runtime_error when it has no record: any replay would then be as expected, even one that
/// never came.
RecordSequence readExpectedLog(std::string const& fileName);

#endif
