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
    return isVersionLegal(header) && writeFew(header);
}

bool BinaryLogWriter::writePayload(void const* data, size_t size)
{
    return write(data, size);
}

bool BinaryLogWriter::writeFooter()
{
    return writeFew(FRAME_FOOTER);
}

bool BinaryLogWriter::write(void const* data, size_t size)
{
    // There is only one thread, so the stream's lock would be wasted time.
    size_t const written = fwrite_unlocked(data, 1, size, m_file->stream());
    return written == size || reportShortWrite(written);
}

// For so few bytes, a call of fwrite() costs more than copying them one by one.
template <class Few>
bool BinaryLogWriter::writeFew(Few const& few)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&few);
    FILE* const stream = m_file->stream();
    size_t written = 0;

    while (written < sizeof few && putc_unlocked(bytes[written], stream) != EOF)
        ++written;
    return written == sizeof few || reportShortWrite(written);
}

bool BinaryLogWriter::reportShortWrite(size_t written)
{
    printf("File write failed res %u, errno %d\n", static_cast<unsigned>(written), errno);
    return false;
}
