#ifndef LOGFILE_BINARY_LOG_WRITER_H
#define LOGFILE_BINARY_LOG_WRITER_H

#include <cstddef>
#include <memory>
#include <string>

#include "frame_header.h"
#include "log_file.h"

/// Writes frames: writeHeader, then writePayload, then writeFooter, each only if the one before
/// succeeded. A failure is printed and leaves a partial frame; the next frame may follow it. A file
/// must be open but for openFile.
class BinaryLogWriter
{
public:
    /// Creates or empties the file and gives up a former one. True; throws std::system_error when
    /// the file cannot be opened, and keeps the former one then.
    bool openFile(std::string name);

    /// Refuses any version but FRAME_VERSION and writes nothing then.
    bool writeHeader(FrameHeader const& header);
    bool writePayload(void const* data, size_t size);
    bool writeFooter();

private:
    bool write(void const* data, size_t size);
    template <class Few>
    bool writeFew(Few const& few);
    static bool reportShortWrite(size_t written);

    std::unique_ptr<LogFile> m_file;
};

#endif
