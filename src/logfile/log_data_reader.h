#ifndef LOGFILE_LOG_DATA_READER_H
#define LOGFILE_LOG_DATA_READER_H

#include <string>

#include "binary_log_reader.h"
#include "i_data_reader.h"

/// Publishes the records of a log file, in its order. Reading ends at the end of the file and at
/// the first frame that is not whole and right; nothing is skipped. Observers must not destroy the
/// reader.
class LogDataReader : public IDataReader
{
public:
    /// True; throws std::system_error when the file cannot be opened.
    bool openFile(std::string name);

    /// Publishes what readPacket finds until it fails. Returns true.
    bool readData() override;

    /// Reads one frame and publishes its record before it returns; false if there was none. The
    /// reason is printed, but for an unknown record type. A file must be open.
    virtual bool readPacket();

private:
    template <class T>
    bool readCheckSend();

    BinaryLogReader m_reader;
};

#endif
