#ifndef LOG_KIT_JSON_H
#define LOG_KIT_JSON_H

#include <optional>

#include <nlohmann/json.hpp>

#include "log_kit/log_walk.h"

// The objects that log_kit prints with --json. Their names are an interface.

using Json = nlohmann::ordered_json;

/// null for what is absent.
template <class Value>
Json jsonOf(std::optional<Value> const& value)
{
    return value ? Json(*value) : Json(nullptr);
}

/// One line. A file name that is no UTF-8 keeps what is, with U+FFFD for the rest.
std::string dumped(Json const& json);

/// An element of `damages`.
Json jsonOf(DamagedRegion const& region);

#endif
