#include "tt_panic.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "tt_console.h"
#include "tt_outlet.h"

void tt_panic(char const* fmt, ...)
{
    // The message may print errno with %m.
    int const saved_errno = errno;
    va_list ap;

    fflush(stdout); // a line that it has a part of
    tt_printf("Panic: ");
    errno = saved_errno;
    va_start(ap, fmt);
    tt_vprintf(fmt, ap);
    va_end(ap);
    // abort() does not flush the streams. What has been recorded so far must not be lost.
    fflush(nullptr);
    tt_outlet_finish();
    tt_abort();
}

void tt_assert_failed(char const* unit, int line)
{
    tt_panic("*** ASSERT in %s at %d\n", unit, line);
}

void tt_abort()
{
    abort();
}
