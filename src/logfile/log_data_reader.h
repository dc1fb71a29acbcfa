#ifndef LOGFILE_LOG_DATA_READER_H
#define LOGFILE_LOG_DATA_READER_H

#include <string>

#include "binary_log_reader.h"
#include "i_data_reader.h"

/// Publishes the records of a log file, in its order. Reading ends at the end of the file, or at
/// the first frame that is cut, damaged or of unknown type. No frame is skipped, on purpose: a gap
/// in the replay would go unnoticed. Observers must not destroy the reader.
class LogDataReader : public IDataReader
{
public:
    /// Returns true. Throws std::system_error if the file cannot be opened.
    bool openFile(std::string name);

    /// Calls readPacket until it fails. Returns true.
    bool readData() override;

    /// Reads one frame and publishes its record before it returns. Returns false if there was none.
    /// The reason is printed, except for an unknown type. Call openFile first.
    virtual bool readPacket();

private:
    template <class T>
    bool readCheckSend();

    BinaryLogReader m_reader;
};

#endif
