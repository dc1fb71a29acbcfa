#include "log_kit/time_point.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

static constexpr int64_t MAX_MS = int64_t{1} << 52; // far more than any log, and exact as a double

static std::invalid_argument badDuration(std::string const& text)
{
    return std::invalid_argument("'" + text +
                                 "' is no duration; examples: 90s, 1.5min, 2h, 250ms, 12:00");
}

// A number without sign, exponent or blanks in front of the rest of the text, as strtod would
// allow.
static double takeNumber(std::string const& text, size_t& at)
{
    size_t const end = text.find_first_not_of("0123456789.", at);
    std::string const digits = text.substr(at, end == std::string::npos ? end : end - at);
    char* rest = nullptr;
    double const value = strtod(digits.c_str(), &rest);
    if (digits.empty() || *rest != '\0' || digits.front() == '.' || digits.back() == '.')
        throw badDuration(text);
    at += digits.size();
    return value;
}

static double unitInMs(std::string const& unit, std::string const& text)
{
    if (unit.empty() || unit == "s")
        return 1e3;
    if (unit == "ms")
        return 1;
    if (unit == "min" || unit == "m")
        return 60e3;
    if (unit == "h")
        return 3600e3;
    throw badDuration(text);
}

int64_t parseDuration(std::string const& text)
{
    size_t at = 0;
    double value = takeNumber(text, at);
    double ms = 0;

    if (at < text.size() && text[at] == ':') {
        unsigned colons = 0;
        for (; at < text.size() && text[at] == ':'; ++colons) {
            double const part = takeNumber(text, ++at);
            if (part >= 60)
                throw badDuration(text);
            value = value * 60 + part;
        }
        if (at != text.size() || colons > 2)
            throw badDuration(text);
        ms = value * 1e3;
    } else {
        ms = value * unitInMs(text.substr(at), text);
    }
    if (ms > static_cast<double>(MAX_MS))
        throw badDuration(text);
    return llround(ms);
}

static std::invalid_argument badUtc(std::string const& text)
{
    return std::invalid_argument("'" + text + "' is no UTC time; an example: 2026-11-20T09:31:00Z");
}

static int64_t parseUtc(std::string const& text)
{
    tm utc = {};
    char const* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &utc);
    if (!rest || utc.tm_year < 70 || utc.tm_year > 200)
        throw badUtc(text);

    std::string const fraction = rest;
    int64_t ms = 0;
    if (fraction != "Z" && fraction != "z") {
        char* end = nullptr;
        double const seconds = strtod(fraction.c_str(), &end);
        if (fraction.empty() || fraction.front() != '.' || seconds >= 1 ||
            (std::string(end) != "Z" && std::string(end) != "z"))
            throw badUtc(text);
        ms = llround(seconds * 1e3);
    }
    int const day = utc.tm_mday;
    int64_t const seconds = timegm(&utc);
    if (utc.tm_mday != day) // the 31st of a month that has none
        throw badUtc(text);
    return seconds * 1000 + ms;
}

TimePoint parseTimePoint(std::string const& text)
{
    if (!text.empty() && text.front() == '+')
        return {TimePoint::eKind::Offset, parseDuration(text.substr(1))};
    if (text.find('T') != std::string::npos)
        return {TimePoint::eKind::Utc, parseUtc(text)};

    bool const isNumber = !text.empty() && text.size() <= 10 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    int64_t const ticks = isNumber ? strtoll(text.c_str(), nullptr, 10) : -1;
    if (ticks < 0 || ticks > int64_t{UINT32_MAX})
        throw std::invalid_argument("'" + text +
                                    "' is no time; examples: 123456 (ticks), +12:00, +90s, "
                                    "2026-11-20T09:31:00Z");
    return {TimePoint::eKind::Ticks, ticks};
}

std::optional<int64_t> resolve(TimePoint const& point, int64_t first, UtcClock const& clock)
{
    switch (point.kind) {
    case TimePoint::eKind::Offset:
        return first + point.value;
    case TimePoint::eKind::Utc:
        return clock.timeOf(point.value);
    case TimePoint::eKind::Ticks:
        break;
    }
    auto const ahead = static_cast<uint32_t>(point.value - first);
    return point.value >= first || ahead >= uint32_t{1} << 31 ? point.value : first + ahead;
}
