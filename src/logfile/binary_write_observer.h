#ifndef LOGFILE_BINARY_WRITE_OBSERVER_H
#define LOGFILE_BINARY_WRITE_OBSERVER_H

#include "binary_log_writer.h"
#include "ti_multi_observer.h"

/// Appends every record that it gets to the log file, one frame each. If a record cannot be
/// written, that is printed and the record is lost; the next one is tried again. Open the writer's
/// file before the first record.
class BinaryWriteObserver
    : public TIMultiObserver<AttitudeData, GenericData, ImuData, GnssPvt, GnssData>
{
public:
    void update(AttitudeData const& record) override;
    void update(GenericData const& record) override;
    void update(ImuData const& record) override;
    void update(GnssPvt const& record) override;
    void update(GnssData const& record) override;

    BinaryLogWriter& writer() { return m_writer; }

private:
    template <class Record>
    void writeFrame(Record const& record);

    BinaryLogWriter m_writer;
};

#endif
