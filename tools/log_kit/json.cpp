#include "log_kit/json.h"

#include "log_kit/text.h"

std::string dumped(Json const& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json jsonOf(DamagedRegion const& region)
{
    return {{"offset", region.offset},
            {"length", region.length},
            {"reason", reasonText(region.first)},
            {"ticks_before", jsonOf(region.ticksBefore)},
            {"ticks_after", jsonOf(region.ticksAfter)}};
}
