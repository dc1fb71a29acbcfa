#ifndef APP_DATA_LOGGER_H
#define APP_DATA_LOGGER_H

#include "i_data_logger.h"

/// Passes every record on to the controller, which must be set before the first one.
class DataLogger : public IDataLogger
{
public:
    void update(GnssData const& record) override;
    void setController(std::shared_ptr<ILogController> const& controller) override;
    void removeController() override;
    void update(ImuData const& record) override;
    void update(GnssPvt const& record) override;
    void update(AttitudeData const& record) override;
    void update(GenericData const& record) override;

private:
    std::shared_ptr<ILogController> m_controller;
};

#endif
