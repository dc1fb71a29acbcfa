#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

/// Makes the input a finding unless `condition` holds. `what` says what should hold.
inline void require(bool condition, char const* what)
{
    if (condition)
        return;
    fprintf(stderr, "Not so: %s\n", what);
    abort();
}

#endif
