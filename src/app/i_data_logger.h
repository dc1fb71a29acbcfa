#ifndef APP_I_DATA_LOGGER_H
#define APP_I_DATA_LOGGER_H

#include <memory>

#include "i_log_controller.h"
#include "ti_observer.h"

/// Hands observed records to a controller that may be attached and detached.
class IDataLogger : public TIObserver<GnssData>,
                    public TIObserver<GnssPvt>,
                    public TIObserver<ImuData>,
                    public TIObserver<AttitudeData>,
                    public TIObserver<GenericData>
{
public:
    /// Shares the controller, but does not initialize it or tear it down.
    virtual void setController(std::shared_ptr<ILogController> const& controller) = 0;
    virtual void removeController() = 0;
};

#endif
