"""Values that a program easily gets wrong."""

SPECIAL_FLOATS = [
    0x00000000,  # 0
    0x80000000,  # -0
    0x00000001,  # smallest subnormal
    0x807FFFFF,  # largest subnormal, negative
    0x00800000,  # smallest normal
    0x7F7FFFFF,  # largest
    0x7F800000,  # infinity
    0xFF800000,  # -infinity
    0x7FC00000,  # quiet NaN
    0xFFC12345,  # quiet NaN, negative, with a payload
    0x7F800001,  # signalling NaN
    0xFFBFFFFF,  # signalling NaN, negative, all payload bits
    0x3F800000,  # 1
    0xC0490FDB,  # -pi
]


def distinct_words(count):
    """Words of four different bytes, half of them with the sign bit."""
    return [
        int.from_bytes((i + 0x80 * (i % 2), i + 0x20, i + 0x40, i + 0x60), "big")
        for i in range(1, count + 1)
    ]
