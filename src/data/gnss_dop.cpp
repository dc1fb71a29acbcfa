#include "gnss_dop.h"

#include <cstring>
#include <type_traits>

static_assert(sizeof(GnssDop) == 16); // a part of the log format
static_assert(std::has_unique_object_representations_v<GnssDop>);

bool GnssDop::operator==(GnssDop const& other) const
{
    return memcmp(this, &other, sizeof other) == 0;
}
