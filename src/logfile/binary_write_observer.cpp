#include "binary_write_observer.h"

void BinaryWriteObserver::update(AttitudeData const& record)
{
    writeFrame(record);
}

void BinaryWriteObserver::update(GenericData const& record)
{
    writeFrame(record);
}

void BinaryWriteObserver::update(ImuData const& record)
{
    writeFrame(record);
}

void BinaryWriteObserver::update(GnssPvt const& record)
{
    writeFrame(record);
}

void BinaryWriteObserver::update(GnssData const& record)
{
    writeFrame(record);
}

template <class Record>
void BinaryWriteObserver::writeFrame(Record const& record)
{
    if (m_writer.writeHeader(FRAME_HEADER<Record>) && m_writer.writePayload(&record, sizeof record))
        m_writer.writeFooter();
}
