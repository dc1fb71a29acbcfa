#include "log_kit/record_text.h"

#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "gnss_text.h"

static std::string textOf(ImuData const& imu)
{
    return fmt::format("Values: ({})\nTimestamp: {} ms", fmt::join(imu.values, ", "), imu.ticks);
}

static std::string textOf(AttitudeData const& attitude)
{
    return fmt::format("Values: ({})\nFlags: ({:d})\nTimestamp: {} ms",
                       fmt::join(attitude.values, ", "), fmt::join(attitude.flags, ", "),
                       attitude.ticks);
}

static std::string textOf(GenericData const& generic)
{
    return fmt::format("Values: ({})\nTimestamp: {} ms", fmt::join(generic.values, ", "),
                       generic.ticks);
}

template <class GnssRecord>
static std::string textOf(GnssRecord const& record)
{
    std::ostringstream out;
    out << record;
    return out.str();
}

std::string recordText(Frame frame)
{
    std::string text;
    visitRecordType(frame.index(),
                    [&](auto record) { text = textOf(frame.record<decltype(record)>()); });
    return text + "\n";
}
