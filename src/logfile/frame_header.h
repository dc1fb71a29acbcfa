#ifndef LOGFILE_FRAME_HEADER_H
#define LOGFILE_FRAME_HEADER_H

#include <cstdint>

#include "record_type.h"

/// The header of a log frame: 8 bytes, little-endian, the same in the file as in memory. The
/// payload and a 4-byte footer follow. A log is frames back to back and nothing else.
struct FrameHeader
{
    uint8_t type;    // the record's type code; it alone decides the payload size
    uint8_t version; // FRAME_VERSION, the only one accepted
    uint16_t length; // header and payload in bytes; not read back
    uint32_t reserved;
};

static_assert(sizeof(FrameHeader) == 8);

constexpr uint8_t FRAME_VERSION = 1;
constexpr uint32_t FRAME_FOOTER = 0xA0B0C0D0; // in the file D0 C0 B0 A0

/// The header of every frame that holds a record of this type.
template <class Record>
inline constexpr FrameHeader FRAME_HEADER = {RecordType<Record>::CODE, FRAME_VERSION,
                                             sizeof(FrameHeader) + RecordType<Record>::PAYLOAD_SIZE,
                                             0};

/// Returns whether the header's version is FRAME_VERSION. If not, prints that.
bool isVersionLegal(FrameHeader const& header);

#endif
