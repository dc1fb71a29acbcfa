#ifndef LOGFILE_BINARY_LOG_READER_H
#define LOGFILE_BINARY_LOG_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "frame_header.h"
#include "log_file.h"

/// Reads frames: readHeader, then readPayload with the size of the header's type, then
/// readAndCheckFooter. The end of the file, damage and read errors are printed and reported as
/// false. A file must be open but for openFile.
class BinaryLogReader
{
public:
    /// Opens an existing file and gives up a former one. True; throws std::system_error when the
    /// file cannot be opened, and keeps the former one then.
    bool openFile(std::string name);

    /// False also for a version that is not FRAME_VERSION.
    bool readHeader(FrameHeader& header);
    bool readPayload(void* data, size_t size);
    bool readAndCheckFooter();

private:
    bool read(void* data, size_t size);
    template <class Few>
    bool readFew(Few& few);
    bool reportShortRead(size_t got);

    static uint32_t s_footer;

    std::unique_ptr<LogFile> m_file;
};

#endif
