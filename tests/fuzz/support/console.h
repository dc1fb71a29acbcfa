#ifndef FUZZ_CONSOLE_H
#define FUZZ_CONSOLE_H

#include <string>

#include "byte_source.h"

// Standard output, C stream and descriptor 1 alike, goes into memory: no input is slowed down by
// it, and what is printed can be judged.

/// What has been printed since the last call.
std::string takeOutput();

/// The next writes to descriptor 1 fare as the bytes say: 0 is interrupted, 255 fails, any other
/// number is the most that is taken. All writes after these take everything.
void scriptWrites(ExactBytes const& script);

#endif
