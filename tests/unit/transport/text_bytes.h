#ifndef TESTS_TRANSPORT_TEXT_BYTES_H
#define TESTS_TRANSPORT_TEXT_BYTES_H

#include <cstddef>
#include <string>

/// The first `size` bytes of a pattern without a period of a power of two.
inline std::string pattern(size_t size)
{
    std::string bytes;
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(i % 251);
    return bytes;
}

inline unsigned char const* dataOf(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

#endif
