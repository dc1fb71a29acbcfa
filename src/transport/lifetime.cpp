#include "lifetime.h"

Lifetime::Watch::Watch(Lifetime& lifetime) : m_lifetime(&lifetime), m_outer(lifetime.m_watch)
{
    lifetime.m_watch = this;
}

Lifetime::Watch::~Watch()
{
    if (m_lifetime)
        m_lifetime->m_watch = m_outer;
}

Lifetime::~Lifetime()
{
    for (Watch* watch = m_watch; watch; watch = watch->m_outer)
        watch->m_lifetime = nullptr;
}
