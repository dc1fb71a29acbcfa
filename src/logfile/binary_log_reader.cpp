#include "binary_log_reader.h"

#include <cerrno>
#include <cstdio>
#include <utility>

uint32_t BinaryLogReader::s_footer = 0;

bool BinaryLogReader::openFile(std::string name)
{
    m_file = std::make_unique<LogFile>(std::move(name), LogFile::Read);
    return true;
}

bool BinaryLogReader::readHeader(FrameHeader& header)
{
    return readFew(header) && isVersionLegal(header);
}

bool BinaryLogReader::readPayload(void* data, size_t size)
{
    return read(data, size);
}

bool BinaryLogReader::readAndCheckFooter()
{
    if (!readFew(s_footer))
        return false;
    if (s_footer == FRAME_FOOTER)
        return true;
    printf("Illegal frame header footer %d", static_cast<int32_t>(s_footer));
    return false;
}

bool BinaryLogReader::read(void* data, size_t size)
{
    // There is only one thread, so the stream's lock would be wasted time.
    size_t const got = fread_unlocked(data, 1, size, m_file->stream());
    return got == size || reportShortRead(got);
}

// For so few bytes, a call of fread() costs more than copying them one by one.
template <class Few>
bool BinaryLogReader::readFew(Few& few)
{
    auto* const bytes = reinterpret_cast<unsigned char*>(&few);
    FILE* const stream = m_file->stream();
    size_t got = 0;

    for (int byte = 0; got < sizeof few && (byte = getc_unlocked(stream)) != EOF; ++got)
        bytes[got] = static_cast<unsigned char>(byte);
    return got == sizeof few || reportShortRead(got);
}

bool BinaryLogReader::reportShortRead(size_t got)
{
    if (feof(m_file->stream()))
        puts("End of file reached");
    else
        printf("File read failed res %u, errno %d\n", static_cast<unsigned>(got), errno);
    return false;
}
