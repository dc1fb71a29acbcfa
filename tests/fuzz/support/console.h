#ifndef FUZZ_CONSOLE_H
#define FUZZ_CONSOLE_H

#include <string>

#include "byte_source.h"

// Standard output, both the C stream and descriptor 1, goes into memory. That costs little time,
// and what is printed can be judged.

/// What has been printed since the last call.
std::string takeOutput();

/// The bytes say what the next writes to descriptor 1 do: 0 interrupts the write, 255 makes it
/// fail, any other number is the most that it takes. All later writes take everything.
void scriptWrites(ExactBytes const& script);

#endif
