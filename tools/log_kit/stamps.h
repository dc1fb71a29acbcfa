#ifndef LOG_KIT_STAMPS_H
#define LOG_KIT_STAMPS_H

#include <cstdint>

#include "log_frames/frame_copy.h"

/// Moves every stamp of the record by `delta` ms, modulo 2^32 like the device's counter: both
/// sections of a GnssData. An absent section, with the stamp 0, stays absent.
///
/// A stamp that would become 0 becomes 1, because 0 in a section means that it is absent. Returns
/// how many did.
unsigned moveStamps(FrameCopy& frame, uint32_t delta);

/// Sets every stamp of the record to 0.
void clearStamps(FrameCopy& frame);

#endif
