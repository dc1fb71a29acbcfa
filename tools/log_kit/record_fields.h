#ifndef LOG_KIT_RECORD_FIELDS_H
#define LOG_KIT_RECORD_FIELDS_H

#include <cstddef>
#include <string>
#include <vector>

enum class eFieldKind
{
    Signed,   // int32_t
    Unsigned, // uint32_t
    Real,     // float
    Flag,     // one byte
};

/// A field of a record where it stands in the payload.
struct RecordField
{
    std::string name; // "latitude", "pvt.latitude", "values[0]"
    eFieldKind kind;
    size_t at; // from the start of the payload

    /// The field's value in this payload. Every value but a NaN or infinity is exact.
    double value(unsigned char const* payload) const;

    /// Whether the field has the same bytes in both payloads.
    bool isEqual(unsigned char const* a, unsigned char const* b) const;
};

/// The fields of the type with this index, in the order of the payload.
std::vector<RecordField> const& recordFields(size_t index);

#endif
