#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The one of `words` that `typed` was probably meant to be; empty when none is near.
std::string NearestWord(std::string_view typed, const std::vector<std::string>& words);
