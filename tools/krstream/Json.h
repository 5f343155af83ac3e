#pragma once

#include "StandardOutput.h"

#include <nlohmann/json.hpp>

/// Keeps its members in the order in which they are given.
using Json = nlohmann::ordered_json;

/// Writes a JSON text that any bytes in names leave correct, and safe on a terminal: ASCII only
/// there.
inline void WriteJson(const Json& json, StandardOutput& out) {
    out.Write(json.dump(2, ' ', out.IsTerminal(), Json::error_handler_t::replace) + '\n');
}
