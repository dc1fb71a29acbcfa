#include "log_data_reader.h"

#include <cstdio>
#include <utility>

bool LogDataReader::openFile(std::string name)
{
    return m_reader.openFile(std::move(name));
}

bool LogDataReader::readData()
{
    while (readPacket()) {
    }
    return true;
}

bool LogDataReader::readPacket()
{
    FrameHeader header = {};

    if (!m_reader.readHeader(header))
        return false;

    // A frame of unknown type ends the reading: its length is not used to skip it.
    switch (header.type) {
    case RecordType<ImuData>::CODE:
        return readCheckSend<ImuData>();
    case RecordType<GnssData>::CODE:
        return readCheckSend<GnssData>();
    case RecordType<GnssPvt>::CODE:
        return readCheckSend<GnssPvt>();
    case RecordType<AttitudeData>::CODE:
        return readCheckSend<AttitudeData>();
    case RecordType<GenericData>::CODE:
        return readCheckSend<GenericData>();
    default:
        return false;
    }
}

// A damaged file may hold any byte for a flag. All other fields are valid with any bytes.
static void makeReadable(AttitudeData& record)
{
    normalizeFlags(record);
}

template <class T>
static void makeReadable(T& /*record*/)
{}

template <class T>
bool LogDataReader::readCheckSend()
{
    T record = {};

    if (!m_reader.readPayload(&record, sizeof record) || !m_reader.readAndCheckFooter()) {
        puts("could not read frame content, return false");
        fflush(stdout);
        return false;
    }

    makeReadable(record);
    m_observable.notifySubscribers(record);
    return true;
}
