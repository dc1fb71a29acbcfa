#ifndef LINK_HELLO_H
#define LINK_HELLO_H

/// The greeting, a datagram of its own: "hej" and its terminating zero byte. Whoever sends it wants
/// records.
constexpr unsigned char HELLO[4] = {'h', 'e', 'j', '\0'};

#endif
