#include "gnss_pvt.h"

#include <cstring>
#include <type_traits>

static_assert(std::has_unique_object_representations_v<GnssPvt>);

bool GnssPvt::operator==(GnssPvt const& other) const
{
    return memcmp(this, &other, sizeof other) == 0;
}
