#include "allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

static unsigned s_count = 0;
static bool s_exhausted = false;

unsigned allocationCount()
{
    return s_count;
}

ExhaustedMemory::ExhaustedMemory()
{
    s_exhausted = true;
}

ExhaustedMemory::~ExhaustedMemory()
{
    s_exhausted = false;
}

// All that allocate or free single objects: none may be left to a sanitizer, which would not know
// the memory of the others.
void* operator new(size_t size, std::nothrow_t const& /*tag*/) noexcept
{
    ++s_count;
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
