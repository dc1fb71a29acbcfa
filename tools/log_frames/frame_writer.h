#ifndef LOG_FRAMES_FRAME_WRITER_H
#define LOG_FRAMES_FRAME_WRITER_H

#include <array>
#include <cstring>

#include "log_frames/frame_layout.h"

/// The record's frame, as log_tool writes it.
template <class Record>
std::array<unsigned char, FRAME_SIZE<Record>> encodeFrame(Record const& record)
{
    std::array<unsigned char, FRAME_SIZE<Record>> frame;
    memcpy(frame.data(), &FRAME_HEADER<Record>, HEADER_SIZE);
    memcpy(frame.data() + HEADER_SIZE, &record, sizeof record);
    memcpy(frame.data() + HEADER_SIZE + sizeof record, &FRAME_FOOTER, FOOTER_SIZE);
    return frame;
}

#endif
