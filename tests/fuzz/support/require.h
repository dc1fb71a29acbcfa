#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

/// Makes the input a finding unless `condition` holds; `what` says what should have held, where the
/// line of the caller does not.
inline void require(bool condition, char const* what = "this check", int line = __builtin_LINE())
{
    if (condition)
        return;
    fprintf(stderr, "Not so, in line %d: %s\n", line, what);
    abort();
}

#endif
