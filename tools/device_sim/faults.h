#ifndef DEVICE_SIM_FAULTS_H
#define DEVICE_SIM_FAULTS_H

#include <cstdint>

#include "device_sim/datagram.h"

/// Decides by the number of a record, from 1 on, what goes wrong with it.
class Faults
{
public:
    struct Settings
    {
        uint64_t shortAt = 0;                // this record is cut short; 0 is never, here and below
        uint64_t shortTo = sizeof(Datagram); // to so many bytes, by at least one in any case
        uint64_t longEvery = 0;              // every so many records one is padded
        uint64_t unknownEvery = 0;           // every so many records one of an unknown type follows
        uint64_t emptyEvery = 0;             // every so many records an empty datagram follows
    };

    explicit Faults(Settings const& settings) : m_settings(settings) {}

    bool isShort(uint64_t number) const { return number == m_settings.shortAt; }
    bool isLong(uint64_t number) const { return isEvery(m_settings.longEvery, number); }
    bool isUnknownNext(uint64_t number) const { return isEvery(m_settings.unknownEvery, number); }
    bool isEmptyNext(uint64_t number) const { return isEvery(m_settings.emptyEvery, number); }

    void cut(Datagram& datagram) const;
    static void pad(Datagram& datagram);
    static Datagram unknown(uint64_t number);

private:
    static bool isEvery(uint64_t period, uint64_t number)
    {
        return period != 0 && number % period == 0;
    }

    Settings m_settings;
};

#endif
