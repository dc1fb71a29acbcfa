#include "tt_mem_display.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tt_console.h"

static constexpr int LINE_SIZE = 129; // 128 characters and the terminator

struct _layout_t
{
    unsigned items;
    unsigned item_size;
    int digits;

    // After the address, the items and a gap of two.
    int textColumn() const { return static_cast<int>(items) * (digits + 1) + 11; }
};

static _layout_t _layout(int width)
{
    switch (width) {
    case 'b':
        return {16, 1, 2};
    case 'h':
        return {8, 2, 4};
    default:
        return {4, 4, 8};
    }
}

static unsigned _item(unsigned char const* data, unsigned size)
{
    uint8_t byte = 0;
    uint16_t half = 0;
    uint32_t word = 0;

    switch (size) {
    case 1:
        memcpy(&byte, data, sizeof byte);
        return byte;
    case 2:
        memcpy(&half, data, sizeof half);
        return half;
    default:
        memcpy(&word, data, sizeof word);
        return word;
    }
}

static int _line_print(_layout_t const& layout, unsigned char const* data, unsigned items,
                       unsigned long shown_addr)
{
    char line[LINE_SIZE];
    int len = tt_snprintf(line, sizeof line, "%08x:", static_cast<unsigned>(shown_addr));
    unsigned char const* const end = data + size_t{items} * layout.item_size;

    for (unsigned char const* item = data; item != end; item += layout.item_size)
        len += tt_snprintf(line + len, sizeof line - static_cast<size_t>(len), " %0*x",
                           layout.digits, _item(item, layout.item_size));

    // No blanks after the text: with them the line would be too long for tt_printf, which would cut
    // off its end.
    char* text = std::fill_n(line + len, layout.textColumn() - len, ' ');
    for (unsigned char const* byte = data; byte != end; ++byte)
        *text++ = isprint(*byte) ? static_cast<char>(*byte) : '.';
    *text = '\0';

    return tt_printf("%s\n", line);
}

int tt_data_display(int width, void const* data, unsigned count, unsigned long shown_addr)
{
    _layout_t const layout = _layout(width);
    auto const* bytes = static_cast<unsigned char const*>(data);
    int result = 0;

    while (count > 0) {
        unsigned const items = std::min(layout.items, count);
        unsigned const size = items * layout.item_size;
        result = _line_print(layout, bytes, items, shown_addr);
        bytes += size;
        shown_addr += size;
        count -= items;
    }
    return result;
}

int tt_mem_display(int width, void const* addr, unsigned count)
{
    return tt_data_display(width, addr, count, reinterpret_cast<uintptr_t>(addr));
}
