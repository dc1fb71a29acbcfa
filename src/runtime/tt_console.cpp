#include "tt_console.h"

#include <cstdio>
#include <cstring>

#include "tt_outlet.h"

static constexpr size_t CONSOLE_BUFFER_SIZE = 80;

int tt_puts(char const* s)
{
    return static_cast<int>(tt_outlet_write(s, strlen(s)));
}

int tt_console_puts(char const* s)
{
    return tt_puts(s);
}

int tt_vprintf(char const* fmt, va_list ap)
{
    char text[CONSOLE_BUFFER_SIZE];
    int const len = tt_vsnprintf(text, sizeof text, fmt, ap);
    tt_puts(text);
    return len;
}

int tt_console_vprintf(char const* fmt, va_list ap)
{
    return tt_vprintf(fmt, ap);
}

int tt_printf(char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_vprintf(fmt, ap);
    va_end(ap);
    return len;
}

int tt_console_printf(char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_vprintf(fmt, ap);
    va_end(ap);
    return len;
}

int tt_vsnprintf(char* s, size_t n, char const* fmt, va_list ap)
{
    int const len = vsnprintf(s, n, fmt, ap);
    if (len < 0) {
        s[0] = '\0';
        return 0;
    }
    return static_cast<size_t>(len) < n ? len : static_cast<int>(n - 1);
}

int tt_snprintf(char* s, size_t n, char const* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    int const len = tt_vsnprintf(s, n, fmt, ap);
    va_end(ap);
    return len;
}
