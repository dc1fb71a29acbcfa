#include "i_data_reader.h"

void IDataReader::subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.subscribe(observer);
}

void IDataReader::unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void IDataReader::subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.subscribe(observer);
}

void IDataReader::subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.subscribe(observer);
}

void IDataReader::subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.subscribe(observer);
}

void IDataReader::subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.subscribe(observer);
}

void IDataReader::unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void IDataReader::unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void IDataReader::unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void IDataReader::unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.unsubscribe(observer);
}
