#ifndef LOG_KIT_RECORD_TEXT_H
#define LOG_KIT_RECORD_TEXT_H

#include <string>

#include "log_frames/frame.h"

/// The record in words, several lines with their ends: raw values, with units where they are known.
/// GNSS records read as they do everywhere, the others in the same manner.
std::string recordText(Frame frame);

#endif
