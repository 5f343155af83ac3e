#pragma once

#include <string>
#include <vector>

/// A part of a text that fits a pattern: all of it, and then what fits each group, which is empty
/// where the group has no part in it.
using Match = std::vector<std::string>;

/// Every part of `text` that fits `pattern`, an extended regular expression of the C library; lines
/// are texts of their own.
std::vector<Match> AllMatches(const std::string& text, const std::string& pattern);
