#ifndef TESTS_ALLOCATIONS_H
#define TESTS_ALLOCATIONS_H

#include <cstddef>

// For programs that link `allocations`: it replaces operator new.

/// How often this program has called operator new for at least `atLeast` bytes, which may be at
/// most 255.
unsigned allocationCount(size_t atLeast = 0);

/// While it lives, operator new throws std::bad_alloc.
class ExhaustedMemory
{
public:
    ExhaustedMemory();
    ~ExhaustedMemory();
    ExhaustedMemory(ExhaustedMemory const&) = delete;
    ExhaustedMemory& operator=(ExhaustedMemory const&) = delete;
};

#endif
