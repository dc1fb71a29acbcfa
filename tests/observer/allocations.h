#ifndef TESTS_OBSERVER_ALLOCATIONS_H
#define TESTS_OBSERVER_ALLOCATIONS_H

/// How often this program has called operator new.
unsigned allocationCount();

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
