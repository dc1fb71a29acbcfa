#ifndef LINK_I_LOG_CONTROLLER_H
#define LINK_I_LOG_CONTROLLER_H

#include "record_type.h"

/// The sending end of the device link.
class ILogController
{
public:
    virtual ~ILogController() = default;
    virtual void initialize() = 0;
    virtual void tearDown() = 0;

    /// Sends the record at once, or drops it when the device is not ready for it.
    virtual void send(ImuData const& record) = 0;
    virtual void send(GnssData const& record) = 0;
    virtual void send(GnssPvt const& record) = 0;
    virtual void send(AttitudeData const& record) = 0;
    virtual void send(GenericData const& record) = 0;
};

#endif
