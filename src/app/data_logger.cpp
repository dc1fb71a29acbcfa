#include "data_logger.h"

void DataLogger::update(GnssData const& record)
{
    m_controller->send(record);
}

void DataLogger::setController(std::shared_ptr<ILogController> const& controller)
{
    m_controller = controller;
}

void DataLogger::removeController()
{
    m_controller.reset();
}

void DataLogger::update(ImuData const& record)
{
    m_controller->send(record);
}

void DataLogger::update(GnssPvt const& record)
{
    m_controller->send(record);
}

void DataLogger::update(AttitudeData const& record)
{
    m_controller->send(record);
}

void DataLogger::update(GenericData const& record)
{
    m_controller->send(record);
}
