#ifndef TESTS_NO_DESCRIPTORS_H
#define TESTS_NO_DESCRIPTORS_H

#include <sys/resource.h>

/// While it lives, the process cannot open a descriptor. Those that are open stay open.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit const none = {0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptors(NoDescriptors const&) = delete;
    NoDescriptors& operator=(NoDescriptors const&) = delete;

private:
    rlimit m_before = {};
};

#endif
