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
    return read(&header, sizeof header) && isVersionLegal(header);
}

bool BinaryLogReader::readPayload(void* data, size_t size)
{
    return read(data, size);
}

bool BinaryLogReader::readAndCheckFooter()
{
    if (!read(&s_footer, sizeof s_footer))
        return false;
    if (s_footer == FRAME_FOOTER)
        return true;
    printf("Illegal frame header footer %d", static_cast<int32_t>(s_footer));
    return false;
}

bool BinaryLogReader::read(void* data, size_t size)
{
    // One thread: the stream's lock would only cost.
    size_t const got = fread_unlocked(data, 1, size, m_file->stream());
    if (got == size)
        return true;
    if (feof(m_file->stream()))
        puts("End of file reached");
    else
        printf("File read failed res %u, errno %d\n", static_cast<unsigned>(got), errno);
    return false;
}
