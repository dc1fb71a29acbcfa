#ifndef LINK_HELLO_H
#define LINK_HELLO_H

/// The whole datagram of a hello: "hej" and its zero byte. Its sender asks for records.
constexpr unsigned char HELLO[4] = {'h', 'e', 'j', '\0'};

#endif
