#ifndef LOGFILE_XDR_H
#define LOGFILE_XDR_H

/// Converts a float to and from its network form: the 4 bytes of XDR (RFC 4506, IEEE-754 single
/// precision, big-endian). Device datagrams use it; the log file does not.
class Xdr
{
public:
    virtual ~Xdr() = default;
    virtual void floatToNet(float value, unsigned char* out);
    virtual void netToFloat(unsigned char const* in, float& value);

private:
    static constexpr unsigned NET_SIZE = 4;

    alignas(4) char m_net[NET_SIZE];
};

#endif
