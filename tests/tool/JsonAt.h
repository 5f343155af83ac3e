#pragma once

#include <string>

/// The value that stands at a JSON pointer in a JSON text, as compact JSON with its members in the
/// order in which they stand there. Throws when either cannot be read.
std::string JsonAt(const std::string& json, const std::string& pointer);
