#include "xdr.h"

#include <csignal>
#include <cstring>

#include <gtest/gtest.h>

#include "child_process.h"
#include "sample_records.h"

namespace
{

enum class XdrFloat
{
    Works,
    Fails,
    TakesNothing
};

}

static XdrFloat s_xdrFloat = XdrFloat::Works;

// The linker puts it in front of the library's own. No four bytes make that one fail.
extern "C" int __real_xdr_float(void* stream, float* value);
extern "C" int __wrap_xdr_float(void* stream, float* value);
extern "C" int __wrap_xdr_float(void* stream, float* value)
{
    if (s_xdrFloat == XdrFloat::Works)
        return __real_xdr_float(stream, value);
    return s_xdrFloat == XdrFloat::Fails ? 0 : 1;
}

static Bytes encoded(Xdr& xdr, float value)
{
    Bytes bytes(4);
    xdr.floatToNet(value, bytes.data());
    return bytes;
}

static uint32_t decodedBits(Xdr& xdr, Bytes const& bytes)
{
    float value = 0;
    xdr.netToFloat(bytes.data(), value);
    uint32_t bits = 0;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(Xdr, writesAFloatBigEndian)
{
    for (auto const& c : SPECIAL_FLOATS) {
        SCOPED_TRACE(c.name);
        Xdr xdr;
        EXPECT_EQ(toBytes(c.net), encoded(xdr, floatOf(c.bits)));
    }
}

TEST(Xdr, readsAFloatBigEndian)
{
    for (auto const& c : SPECIAL_FLOATS) {
        SCOPED_TRACE(c.name);
        Xdr xdr;
        EXPECT_EQ(c.bits, decodedBits(xdr, toBytes(c.net)));
    }
}

TEST(Xdr, convertsManyFloatsInEitherDirection)
{
    Xdr xdr;
    for (auto const& c : SPECIAL_FLOATS) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(toBytes(c.net), encoded(xdr, floatOf(c.bits)));
        EXPECT_EQ(c.bits, decodedBits(xdr, toBytes(c.net)));
    }
}

TEST(Xdr, touchesExactlyFourBytes)
{
    unsigned char bytes[] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    Xdr xdr;

    xdr.floatToNet(floatOf(0x41233567), bytes + 1);
    EXPECT_EQ((Bytes{0xEE, 0x41, 0x23, 0x35, 0x67, 0xEE}), toBytes(Bytes(bytes, bytes + 6)));
    EXPECT_EQ(0x41233567U, decodedBits(xdr, Bytes(bytes + 1, bytes + 5)));
}

TEST(Xdr, panicsWhenTheLibraryCannotConvert)
{
    struct
    {
        char const* name;
        XdrFloat xdrFloat;
        bool encode;
        char const* output;
    } const cases[] = {
        {"encoding fails", XdrFloat::Fails, true, "Panic: *** ASSERT in xdr at 19\n"},
        {"nothing encoded", XdrFloat::TakesNothing, true, "Panic: *** ASSERT in xdr at 20\n"},
        {"decoding fails", XdrFloat::Fails, false, "Panic: *** ASSERT in xdr at 29\n"},
        {"nothing decoded", XdrFloat::TakesNothing, false, "Panic: *** ASSERT in xdr at 30\n"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        ChildResult const result = runInChild([&c] {
            s_xdrFloat = c.xdrFloat;
            Xdr xdr;
            if (c.encode)
                encoded(xdr, 1);
            else
                decodedBits(xdr, {0x3F, 0x80, 0x00, 0x00});
        });
        EXPECT_EQ(SIGABRT, result.signal());
        EXPECT_EQ(c.output, result.output);
    }
}
