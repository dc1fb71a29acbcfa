#include "frame_header.h"

#include <cstdio>

bool isVersionLegal(FrameHeader const& header)
{
    if (header.version == FRAME_VERSION)
        return true;
    printf("Illegal frame header version %d", header.version);
    return false;
}
