// The input is a log. Judged are the records that are read from it, the datagrams in which they are
// sent, and what is printed where reading ends.

#include <cstring>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "console.h"
#include "log_data_reader.h"
#include "outlet.h"

static constexpr char const* END_OF_FILE = "End of file reached\n";
static constexpr char const* NO_CONTENT = "could not read frame content, return false\n";

namespace
{

/// A file in memory. Opening its name opens it again from the start.
class MemoryFile
{
public:
    MemoryFile() { require(m_fd != -1, "there is memory for a file"); }

    std::string name() const { return "/proc/self/fd/" + std::to_string(m_fd); }

    void fill(uint8_t const* data, size_t size) const
    {
        // In this order, so that the file keeps its memory.
        bool const filled = pwrite(m_fd, data, size, 0) == static_cast<ssize_t>(size) &&
                            ftruncate(m_fd, static_cast<off_t>(size)) == 0;
        require(filled, "the file can be written");
    }

private:
    int m_fd = memfd_create("log", MFD_CLOEXEC);
};

}

// Whether the log starts with an intact frame. If not, `text` is what the reader prints about it.
static bool startsWithFrame(uint8_t const* log, size_t size, std::string& text)
{
    if (size < HEADER_SIZE) {
        text = END_OF_FILE;
        return false;
    }
    if (log[1] != 1) {
        text = "Illegal frame header version " + std::to_string(log[1]);
        return false;
    }
    size_t const payload = payloadSize(log[0]);
    if (payload == 0)
        return false;
    if (size < HEADER_SIZE + payload + FOOTER_SIZE) {
        text = std::string(END_OF_FILE) + NO_CONTENT;
        return false;
    }
    int32_t footer = 0;
    memcpy(&footer, log + HEADER_SIZE + payload, sizeof footer);
    if (footer != static_cast<int32_t>(0xA0B0C0D0)) {
        text = "Illegal frame header footer " + std::to_string(footer) + NO_CONTENT;
        return false;
    }
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    static MemoryFile const file;
    static LogDataReader reader;
    static Outlet outlet(reader);
    std::string text;

    file.fill(data, size);
    reader.openFile(file.name());
    while (startsWithFrame(data, size, text)) {
        require(reader.readPacket(), "a frame that is whole and right is read");
        outlet.requireOnly(data[0], recordInFrame(data[0], data + HEADER_SIZE));

        size_t const frame = HEADER_SIZE + payloadSize(data[0]) + FOOTER_SIZE;
        data += frame;
        size -= frame;
    }
    require(!reader.readPacket(), "the reading ends where no such frame follows");
    outlet.requireNothing();
    require(takeOutput() == text, "the reader says why it ends");
    return 0;
}
