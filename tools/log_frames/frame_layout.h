#ifndef LOG_FRAMES_FRAME_LAYOUT_H
#define LOG_FRAMES_FRAME_LAYOUT_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame_header.h"
#include "record_list.h"

// The constant bytes of frames and their places. Nothing here needs aligned bytes.

constexpr size_t HEADER_SIZE = sizeof(FrameHeader);
constexpr size_t FOOTER_SIZE = sizeof FRAME_FOOTER;

/// Header, payload and footer.
template <class Record>
inline constexpr size_t FRAME_SIZE = HEADER_SIZE + RecordType<Record>::PAYLOAD_SIZE + FOOTER_SIZE;

/// The same by index in the list of record types.
constexpr PerType<size_t> FRAME_SIZES = {FRAME_SIZE<ImuData>, FRAME_SIZE<GnssData>,
                                         FRAME_SIZE<GnssPvt>, FRAME_SIZE<AttitudeData>,
                                         FRAME_SIZE<GenericData>};

constexpr size_t SMALLEST_FRAME = FRAME_SIZE<GenericData>;
constexpr size_t LARGEST_FRAME = FRAME_SIZE<GnssData>;

/// The eight header bytes of a record type as one number, so that one comparison checks them.
template <class Record>
inline constexpr uint64_t HEADER_WORD =
    uint64_t{FRAME_HEADER<Record>.type} | uint64_t{FRAME_HEADER<Record>.version} << 8 |
    uint64_t{FRAME_HEADER<Record>.length} << 16 | uint64_t{FRAME_HEADER<Record>.reserved} << 32;

constexpr PerType<uint64_t> HEADER_WORDS = {HEADER_WORD<ImuData>, HEADER_WORD<GnssData>,
                                            HEADER_WORD<GnssPvt>, HEADER_WORD<AttitudeData>,
                                            HEADER_WORD<GenericData>};

template <class Word>
Word loadWord(unsigned char const* bytes)
{
    Word word;
    memcpy(&word, bytes, sizeof word);
    return word;
}

inline bool isFooter(unsigned char const* bytes)
{
    return loadWord<uint32_t>(bytes) == FRAME_FOOTER;
}

/// Whether the type code stands for a record; its index is the code less 1.
inline bool isRecordCode(uint8_t code)
{
    return code >= 1 && code <= RECORD_TYPE_COUNT;
}

/// The size of the frame to which these eight bytes are the header; 0 if they are none.
inline size_t frameSizeByHeader(unsigned char const* header)
{
    uint8_t const code = header[0];
    if (!isRecordCode(code) || loadWord<uint64_t>(header) != HEADER_WORDS[code - 1U])
        return 0;
    return FRAME_SIZES[code - 1U];
}

/// The size of the frame that log_tool -r would read here, 0 if it would end: it looks at type,
/// version and footer alone.
inline size_t replayedFrameSize(unsigned char const* bytes, size_t available)
{
    if (available < SMALLEST_FRAME || !isRecordCode(bytes[0]) || bytes[1] != FRAME_VERSION)
        return 0;
    size_t const size = FRAME_SIZES[bytes[0] - 1U];
    return size <= available && isFooter(bytes + size - FOOTER_SIZE) ? size : 0;
}

#endif
