#include "allocations.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <new>
#include <numeric>

static unsigned s_counts[256] = {}; // by size, the last one for all that are larger
static bool s_exhausted = false;

unsigned allocationCount(size_t atLeast)
{
    return std::accumulate(s_counts + atLeast, std::end(s_counts), 0U);
}

ExhaustedMemory::ExhaustedMemory()
{
    s_exhausted = true;
}

ExhaustedMemory::~ExhaustedMemory()
{
    s_exhausted = false;
}

// All operators for single objects are replaced: a sanitizer's own would not know the memory of
// these.
void* operator new(size_t size, std::nothrow_t const& /*tag*/) noexcept
{
    ++s_counts[std::min(size, std::size(s_counts) - 1)];
    return s_exhausted ? nullptr : malloc(size);
}

void* operator new(size_t size)
{
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept
{
    free(memory);
}

void operator delete(void* memory, std::nothrow_t const& /*tag*/) noexcept
{
    free(memory);
}
