// The input is memory to dump: the width, whether its own address is shown (1 bit), how far it is
// off its alignment (7 bits), otherwise the address to show (8 bytes), and the memory.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "byte_source.h"
#include "console.h"
#include "require.h"
#include "tt_mem_display.h"

static size_t itemSize(int width)
{
    if (width == 'b')
        return 1;
    return width == 'h' ? 2 : 4;
}

static std::string hex(unsigned long value, size_t digits)
{
    std::string text(digits, '0');
    for (size_t at = digits; at-- > 0; value >>= 4)
        text[at] = "0123456789abcdef"[value & 15];
    return text;
}

// 16 bytes a line at most: their items with the most significant byte first, and their characters.
static std::string lineOf(uint8_t const* bytes, size_t size, size_t item, unsigned long address)
{
    std::string line = hex(address, 8) + ":";
    for (size_t at = 0; at < size; at += item) {
        line += ' ';
        for (size_t i = item; i-- > 0;)
            line += hex(bytes[at + i], 2);
    }
    line.resize(16 / item * (2 * item + 1) + 11, ' ');
    for (size_t at = 0; at < size; ++at)
        line += bytes[at] >= ' ' && bytes[at] <= '~' ? static_cast<char>(bytes[at]) : '.';
    return line + '\n';
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    ByteSource input(data, size);
    int const width = input.number<uint8_t>();
    auto const how = input.number<uint8_t>();
    auto shown = static_cast<unsigned long>(input.number<uint64_t>());
    ExactBytes const all = input.rest(how >> 1);
    size_t const item = itemSize(width);
    // Cut to whole items, so that the last one ends where the memory ends.
    ExactBytes const memory(all.data(), all.size() / item * item, how >> 1);
    auto const count = static_cast<unsigned>(memory.size() / item);
    int result = -1;

    if (how & 1) {
        shown = reinterpret_cast<uintptr_t>(memory.data());
        result = tt_mem_display(width, memory.data(), count);
    } else {
        result = tt_data_display(width, memory.data(), count, shown);
    }

    std::string dump;
    size_t lastLine = 0;
    for (size_t at = 0; at < memory.size(); at += 16) {
        std::string const line =
            lineOf(memory.data() + at, std::min<size_t>(16, memory.size() - at), item, shown + at);
        dump += line;
        lastLine = line.size();
    }
    require(takeOutput() == dump, "the dump shows the memory");
    require(result == static_cast<int>(lastLine), "the result is the length of the last line");
    return 0;
}
