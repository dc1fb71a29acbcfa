// The input is a log. The format alone judges what the scanner finds: every byte is in exactly one
// event, every frame is a frame, the pieces in which the bytes arrive make no difference, and the
// frames alone are a log without damage.

#include <cstring>
#include <string>
#include <vector>

#include "log_frames/scanner.h"
#include "memory_source.h"
#include "require.h"

namespace
{

struct Found
{
    std::string frames; // back to back
    std::string damages;
};

}

// Written from the format, not from the program's tables.
static size_t sizeOfFrame(std::string const& bytes)
{
    static char const* const HEADERS[] = {"\x01\x01\x24\0\0\0\0\0", "\x02\x01\x68\0\0\0\0\0",
                                          "\x03\x01\x50\0\0\0\0\0", "\x04\x01\x20\0\0\0\0\0",
                                          "\x05\x01\x14\0\0\0\0\0"};
    for (char const* const header : HEADERS) {
        size_t const size = static_cast<size_t>(header[2]) + 4;
        if (bytes.size() >= size && bytes.compare(0, 8, header, 8) == 0 &&
            bytes.compare(size - 4, 4, "\xD0\xC0\xB0\xA0") == 0)
            return size;
    }
    return 0;
}

static Found scan(std::string const& log, size_t pieces)
{
    MemorySource source(log, pieces);
    Scanner scanner(source);
    Found found;
    size_t at = 0;

    while (auto const event = scanner.next()) {
        if (auto const* const damage = std::get_if<Damage>(&*event)) {
            require(damage->offset == at && damage->length > 0 &&
                    damage->length <= log.size() - at);
            require(framesAtMost(*damage) > 0);
            found.damages += log.substr(at, damage->length);
            at += damage->length;
            continue;
        }
        auto const& stretch = std::get<Stretch>(*event);
        require(stretch.offset == at && stretch.count > 0);
        uint64_t count = 0;
        for (Frame const frame : stretch.frames) {
            size_t const size = sizeOfFrame(log.substr(at, 108));
            require(size != 0 && frame.size() == size);
            require(memcmp(frame.bytes(), log.data() + at, size) == 0);
            found.frames.append(log, at, size);
            at += size;
            ++count;
        }
        require(count == stretch.count);
    }
    require(at == log.size());
    return found;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    size_t const pieces = size > 0 ? 1 + data[size - 1] : 1;
    std::string const log(reinterpret_cast<char const*>(data), size);
    Found const found = scan(log, SIZE_MAX);
    Found const inPieces = scan(log, pieces);
    require(found.frames == inPieces.frames && found.damages == inPieces.damages);

    Found const again = scan(found.frames, SIZE_MAX);
    require(again.frames == found.frames && again.damages.empty());
    return 0;
}
