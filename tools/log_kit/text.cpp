#include "log_kit/text.h"

#include <cmath>
#include <ctime>

#include <fmt/format.h>

std::string grouped(uint64_t number)
{
    std::string digits = fmt::format("{}", number);
    for (size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, ",");
    }
    return digits;
}

std::string counted(uint64_t count, std::string const& noun)
{
    return grouped(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string spanText(double seconds)
{
    if (seconds < 60)
        return fmt::format("{:.2f} s", seconds);
    auto const whole = static_cast<uint64_t>(std::llround(seconds));
    if (whole < 3600)
        return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    return fmt::format("{} h {:02} min {:02} s", grouped(whole / 3600), whole / 60 % 60,
                       whole % 60);
}

std::string sizeText(uint64_t bytes)
{
    if (bytes < 1024)
        return counted(bytes, "byte");
    double size = static_cast<double>(bytes) / 1024;
    char const* unit = "KiB";
    for (char const* const larger : {"MiB", "GiB", "TiB"}) {
        if (size < 1024)
            break;
        size /= 1024;
        unit = larger;
    }
    return fmt::format("{:.{}f} {}", size, size < 10 ? 1 : 0, unit);
}

std::string utcText(int64_t secondsSince1970)
{
    auto const time = static_cast<time_t>(secondsSince1970);
    tm utc = {};
    gmtime_r(&time, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
}

// As the bytes stand in the file.
static std::string bytesText(uint32_t word)
{
    return fmt::format("{:02x} {:02x} {:02x} {:02x}", word & 0xFF, word >> 8 & 0xFF,
                       word >> 16 & 0xFF, word >> 24);
}

std::string reasonText(Damage const& damage)
{
    switch (damage.reason) {
    case eDamage::Type:
        return fmt::format("type: expected 1 to {}, found {}", RECORD_TYPE_COUNT, damage.found);
    case eDamage::Version:
        return fmt::format("version: expected {}, found {}", damage.expected, damage.found);
    case eDamage::Length:
        return fmt::format("length: expected {}, found {}", damage.expected, damage.found);
    case eDamage::Reserved:
        return fmt::format("reserved: expected {}, found {}", bytesText(damage.expected),
                           bytesText(damage.found));
    case eDamage::Footer:
        return fmt::format("footer: expected {}, found {}", bytesText(damage.expected),
                           bytesText(damage.found));
    case eDamage::CutOff:
        break;
    }
    return fmt::format("cut off: expected {} bytes, found {}", damage.expected, damage.found);
}

static std::string betweenText(DamagedRegion const& region)
{
    if (region.ticksBefore && region.ticksAfter) {
        std::string text =
            fmt::format("between ticks {} and {}", *region.ticksBefore, *region.ticksAfter);
        if (auto const seconds = region.seconds())
            text += " (" + spanText(*seconds) + ")";
        return text;
    }
    if (region.ticksBefore)
        return fmt::format("after ticks {}", *region.ticksBefore);
    if (region.ticksAfter)
        return fmt::format("before ticks {}", *region.ticksAfter);
    return "without a frame before or after it";
}

std::string lossText(LogTotals const& totals)
{
    if (totals.isClean())
        return "nothing was damaged";
    auto const seconds = totals.knownSecondsLost();
    return fmt::format("{} left out: at most {}, {}", counted(totals.regions, "damaged region"),
                       counted(totals.framesLostAtMost, "record"),
                       seconds ? spanText(*seconds) : "of unknown duration");
}

std::string regionText(DamagedRegion const& region)
{
    return fmt::format("offset {}, {}: {}; {}; at most {}", region.offset,
                       counted(region.length, "byte"), reasonText(region.first),
                       betweenText(region), counted(region.framesAtMost, "record"));
}
