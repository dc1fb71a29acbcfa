#ifndef LOGFILE_BINARY_LOG_READER_H
#define LOGFILE_BINARY_LOG_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "frame_header.h"
#include "log_file.h"

/// Reads frames. Call openFile first. Then call readHeader, readPayload with the size of the
/// header's type, and readAndCheckFooter for each frame. At the end of the file, at damage and
/// after a read error they print the reason and return false.
class BinaryLogReader
{
public:
    /// Opens an existing file, and closes the one that was open. Returns true. Throws
    /// std::system_error if the file cannot be opened; then the former one stays open.
    bool openFile(std::string name);

    /// Also false if the version is not FRAME_VERSION.
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
