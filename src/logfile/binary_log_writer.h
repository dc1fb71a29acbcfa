#ifndef LOGFILE_BINARY_LOG_WRITER_H
#define LOGFILE_BINARY_LOG_WRITER_H

#include <cstddef>
#include <memory>
#include <string>

#include "frame_header.h"
#include "log_file.h"

/// Writes frames. Call openFile first. Then call writeHeader, writePayload and writeFooter for each
/// frame, each only if the one before succeeded. A failure is printed and leaves a partial frame.
/// The next frame may follow it.
class BinaryLogWriter
{
public:
    /// Creates or empties the file, and closes the one that was open. Returns true. Throws
    /// std::system_error if the file cannot be opened; then the former one stays open.
    bool openFile(std::string name);

    /// If the version is not FRAME_VERSION, prints that, writes nothing and returns false.
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
