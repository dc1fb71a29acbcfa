#include "broken_invariant.h"

// The name is the linker's, around the compiler's name of tt_assert_failed().
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
[[noreturn]] void __wrap__Z16tt_assert_failedPKci(char const* unit, int line);

void __wrap__Z16tt_assert_failedPKci(char const* unit, int line)
{
    throw BrokenInvariant{unit, line};
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
