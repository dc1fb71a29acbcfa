#include "generated_log.h"

#include <cstring>

namespace
{

struct Layout
{
    char const* header; // 8 bytes
    size_t payloadSize;
    std::vector<size_t> ticksAt; // in the payload
};

}

static std::string const FOOTER("\xD0\xC0\xB0\xA0", 4);

static Layout const LAYOUTS[] = {
    {"\x01\x01\x24\0\0\0\0\0", 28, {0}}, {"\x02\x01\x68\0\0\0\0\0", 96, {8, 80}},
    {"\x03\x01\x50\0\0\0\0\0", 72, {0}}, {"\x04\x01\x20\0\0\0\0\0", 24, {0}},
    {"\x05\x01\x14\0\0\0\0\0", 12, {0}},
};

static std::string frameOf(Layout const& layout, std::string payload, uint32_t ticks)
{
    payload.resize(layout.payloadSize);
    for (size_t const at : layout.ticksAt)
        memcpy(&payload[at], &ticks, sizeof ticks);
    return std::string(layout.header, 8) + payload + FOOTER;
}

Frames generateFrames(unsigned seed, size_t count, uint32_t firstTicks)
{
    std::mt19937 random(seed);
    Frames frames;
    for (size_t i = 0; i < count; ++i) {
        std::string payload(96, '\0');
        for (char& byte : payload)
            byte = static_cast<char>(random());
        frames.push_back(
            frameOf(LAYOUTS[random() % 5], payload, firstTicks + 10 * static_cast<uint32_t>(i)));
    }
    return frames;
}

std::string gnssFrameAround(std::string const& content, size_t at)
{
    std::string frame = frameOf(LAYOUTS[1], std::string(96, '\x55'), 7000);
    return frame.replace(at, content.size(), content);
}

std::string genericFrame(uint32_t ticks)
{
    return frameOf(LAYOUTS[4], std::string(12, '\x33'), ticks);
}

std::string joined(Frames const& frames)
{
    std::string all; // std::accumulate would copy it for each frame
    for (std::string const& frame : frames)
        all += frame;
    return all;
}
