#ifndef FUZZ_BYTE_SOURCE_H
#define FUZZ_BYTE_SOURCE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

/// A copy of some bytes that ends where its memory ends, so that AddressSanitizer sees every read
/// past its end.
class ExactBytes
{
public:
    /// `offset` bytes of room in front of the copy take it off its alignment.
    ExactBytes(uint8_t const* from, size_t size, size_t offset = 0)
        : m_memory(std::make_unique<uint8_t[]>(offset + size)),
          m_offset(offset),
          m_size(size)
    {
        std::copy_n(from, size, m_memory.get() + offset);
    }

    uint8_t const* data() const { return m_memory.get() + m_offset; }
    size_t size() const { return m_size; }

private:
    std::unique_ptr<uint8_t[]> m_memory;
    size_t m_offset;
    size_t m_size;
};

/// Takes an input apart, from front to back. Reading past its end gives 0.
class ByteSource
{
public:
    ByteSource(uint8_t const* data, size_t size) : m_next(data), m_left(size) {}

    bool empty() const { return m_left == 0; }

    template <class Number>
    Number number()
    {
        Number value = 0;
        for (size_t i = 0; i < sizeof value && !empty(); ++i)
            value = static_cast<Number>(value | static_cast<Number>(byte()) << (8 * i));
        return value;
    }

    /// At most so many bytes.
    ExactBytes bytes(size_t size, size_t offset = 0)
    {
        size = std::min(size, m_left);
        m_next += size;
        m_left -= size;
        return {m_next - size, size, offset};
    }

    ExactBytes rest(size_t offset = 0) { return bytes(m_left, offset); }

private:
    uint8_t byte()
    {
        --m_left;
        return *m_next++;
    }

    uint8_t const* m_next;
    size_t m_left;
};

#endif
