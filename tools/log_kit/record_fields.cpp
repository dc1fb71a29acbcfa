#include "log_kit/record_fields.h"

#include <cstring>

#include "log_frames/frame_layout.h"

namespace
{

struct Entry
{
    char const* name;
    eFieldKind kind;
};

using Fields = std::vector<RecordField>;

}

static constexpr eFieldKind SIGNED = eFieldKind::Signed;
static constexpr eFieldKind UNSIGNED = eFieldKind::Unsigned;
static constexpr eFieldKind REAL = eFieldKind::Real;
static constexpr eFieldKind FLAG = eFieldKind::Flag;

// All in the order of the payload, which has no gaps.

static constexpr Entry IMU[] = {
    {"ticks", UNSIGNED}, {"values[0]", REAL}, {"values[1]", REAL}, {"values[2]", REAL},
    {"values[3]", REAL}, {"values[4]", REAL}, {"values[5]", REAL},
};

static constexpr Entry PVT[] = {
    {"ticks", UNSIGNED},
    {"fixType", SIGNED},
    {"utcTime", SIGNED},
    {"timeAccuracy", UNSIGNED},
    {"satelliteCount", UNSIGNED},
    {"longitude", SIGNED},
    {"latitude", SIGNED},
    {"altitude", SIGNED},
    {"horizontalAccuracy", UNSIGNED},
    {"verticalAccuracy", UNSIGNED},
    {"velocityNorth", SIGNED},
    {"velocityEast", SIGNED},
    {"velocityDown", SIGNED},
    {"groundSpeed", SIGNED},
    {"headingOfMotion", SIGNED},
    {"speedAccuracy", UNSIGNED},
    {"headingAccuracy", UNSIGNED},
    {"pDop", UNSIGNED},
};

static constexpr Entry GNSS[] = {{"source", UNSIGNED}, {"constellations", UNSIGNED}};

static constexpr Entry DOP[] = {
    {"ticks", UNSIGNED}, {"hDop", UNSIGNED}, {"pDop", UNSIGNED}, {"vDop", UNSIGNED}};

static constexpr Entry ATTITUDE[] = {
    {"ticks", UNSIGNED}, {"values[0]", REAL}, {"values[1]", REAL},
    {"values[2]", REAL}, {"values[3]", REAL}, {"flags[0]", FLAG},
    {"flags[1]", FLAG},  {"flags[2]", FLAG},  {"flags[3]", FLAG},
};

static constexpr Entry GENERIC[] = {
    {"ticks", UNSIGNED}, {"values[0]", UNSIGNED}, {"values[1]", UNSIGNED}};

static size_t sizeOf(eFieldKind kind)
{
    return kind == eFieldKind::Flag ? 1 : 4;
}

template <size_t COUNT>
static void append(Fields& fields, std::string const& prefix, Entry const (&entries)[COUNT])
{
    size_t at = fields.empty() ? 0 : fields.back().at + sizeOf(fields.back().kind);
    for (Entry const& entry : entries) {
        fields.push_back({prefix + entry.name, entry.kind, at});
        at += sizeOf(entry.kind);
    }
}

template <size_t COUNT>
static Fields plain(Entry const (&entries)[COUNT])
{
    Fields fields;
    append(fields, "", entries);
    return fields;
}

static Fields gnss()
{
    Fields fields = plain(GNSS);
    append(fields, "pvt.", PVT);
    append(fields, "dop.", DOP);
    return fields;
}

double RecordField::value(unsigned char const* payload) const
{
    unsigned char const* const bytes = payload + at;
    switch (kind) {
    case eFieldKind::Signed:
        return loadWord<int32_t>(bytes);
    case eFieldKind::Unsigned:
        return loadWord<uint32_t>(bytes);
    case eFieldKind::Real:
        return static_cast<double>(loadWord<float>(bytes));
    case eFieldKind::Flag:
        break;
    }
    return *bytes;
}

bool RecordField::isEqual(unsigned char const* a, unsigned char const* b) const
{
    return memcmp(a + at, b + at, sizeOf(kind)) == 0;
}

std::vector<RecordField> const& recordFields(size_t index)
{
    static PerType<Fields> const FIELDS = {plain(IMU), gnss(), plain(PVT), plain(ATTITUDE),
                                           plain(GENERIC)};
    return FIELDS[index];
}
