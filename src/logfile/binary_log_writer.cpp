#include "binary_log_writer.h"

#include <cerrno>
#include <cstdio>
#include <utility>

bool BinaryLogWriter::openFile(std::string name)
{
    m_file = std::make_unique<LogFile>(std::move(name), LogFile::Write);
    return true;
}

bool BinaryLogWriter::writeHeader(FrameHeader const& header)
{
    return isVersionLegal(header) && write(&header, sizeof header);
}

bool BinaryLogWriter::writePayload(void const* data, size_t size)
{
    return write(data, size);
}

bool BinaryLogWriter::writeFooter()
{
    return write(&FRAME_FOOTER, sizeof FRAME_FOOTER);
}

bool BinaryLogWriter::write(void const* data, size_t size)
{
    // One thread: the stream's lock would only cost.
    size_t const written = fwrite_unlocked(data, 1, size, m_file->stream());
    if (written == size)
        return true;
    printf("File write failed res %u, errno %d\n", static_cast<unsigned>(written), errno);
    return false;
}
