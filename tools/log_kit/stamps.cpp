#include "log_kit/stamps.h"

#include <cstddef>

static unsigned moveStamp(FrameCopy& frame, size_t at, uint32_t delta)
{
    uint32_t const moved = frame.word<uint32_t>(at) + delta;
    bool const wouldBeNone = moved == 0 && delta != 0;
    frame.setWord<uint32_t>(at, wouldBeNone ? 1 : moved);
    return wouldBeNone ? 1 : 0;
}

unsigned moveStamps(FrameCopy& frame, uint32_t delta)
{
    if (!frame.frame().holds<GnssData>())
        return moveStamp(frame, 0, delta);

    unsigned count = 0;
    for (size_t const at : {offsetof(GnssData, pvt), offsetof(GnssData, dop)})
        if (frame.word<uint32_t>(at) != 0)
            count += moveStamp(frame, at, delta);
    return count;
}

void clearStamps(FrameCopy& frame)
{
    if (frame.frame().holds<GnssData>())
        for (size_t const at : {offsetof(GnssData, pvt), offsetof(GnssData, dop)})
            frame.setWord<uint32_t>(at, 0);
    else
        frame.setWord<uint32_t>(0, 0);
}
