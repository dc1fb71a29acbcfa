#ifndef LOG_KIT_TEXT_H
#define LOG_KIT_TEXT_H

#include <cstdint>
#include <string>

#include "log_kit/log_walk.h"

// How log_kit writes things for people.

/// 24659964 as "24,659,964".
std::string grouped(uint64_t number);

/// A count with its noun: "1 frame", "2,000 frames".
std::string counted(uint64_t count, std::string const& noun);

/// A time span: "0.25 s", "12 min 04 s", "3 h 05 min 00 s".
std::string spanText(double seconds);

/// Bytes: "512 bytes", "1.5 KiB", "165 MiB".
std::string sizeText(uint64_t bytes);

/// "2026-11-20T09:31:00Z"
std::string utcText(int64_t secondsSince1970);

/// What was expected at the start of the damage and what was found: "footer: expected d0 c0 b0 a0,
/// found 00 00 00 00". Starts with one of type, version, length, reserved, footer and cut off.
std::string reasonText(Damage const& damage);

/// What was left out of a copy: "nothing was damaged", or how much at most.
std::string lossText(LogTotals const& totals);

/// The region on one line, without its end.
std::string regionText(DamagedRegion const& region);

#endif
