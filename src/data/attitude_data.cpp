#include "attitude_data.h"

#include <cstring>

void normalizeFlags(AttitudeData& record)
{
    for (bool& flag : record.flags) {
        unsigned char byte = 0;
        memcpy(&byte, &flag, sizeof byte);
        flag = byte != 0;
    }
}
