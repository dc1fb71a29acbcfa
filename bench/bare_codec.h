#ifndef BENCH_BARE_CODEC_H
#define BENCH_BARE_CODEC_H

#include <cstdint>
#include <cstring>

#include <arpa/inet.h>

/// Takes a record's fields from a datagram's payload at the cost of a byte swap each.
class BareReader
{
public:
    explicit BareReader(unsigned char const* payload) : m_next(payload) {}

    template <class Field>
    void word(Field& field)
    {
        uint32_t const value = ntohl(take());
        static_assert(sizeof field == sizeof value);
        memcpy(&field, &value, sizeof value);
    }
    void real(float& value) { word(value); }
    void flag(bool& value) { value = *m_next++ != 0; }

private:
    uint32_t take()
    {
        uint32_t net = 0;
        memcpy(&net, m_next, sizeof net);
        m_next += sizeof net;
        return net;
    }

    unsigned char const* m_next;
};

/// Puts a record's fields into a datagram's payload at the cost of a byte swap each.
class BareWriter
{
public:
    explicit BareWriter(unsigned char* payload) : m_next(payload) {}

    template <class Field>
    void word(Field const& field)
    {
        uint32_t value = 0;
        static_assert(sizeof field == sizeof value);
        memcpy(&value, &field, sizeof value);
        value = htonl(value);
        memcpy(m_next, &value, sizeof value);
        m_next += sizeof value;
    }
    void real(float const& value) { word(value); }
    void flag(bool const& value) { *m_next++ = value ? 1 : 0; }

private:
    unsigned char* m_next;
};

#endif
