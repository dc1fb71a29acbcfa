#ifndef DATA_GENERIC_DATA_H
#define DATA_GENERIC_DATA_H

#include <cstdint>

/// Two words that the device defines.
struct GenericData
{
    uint32_t ticks; // ms of the device's clock
    uint32_t values[2];
};

#endif
