#pragma once

#include <string>

/// Names of entries in files of format version 1 are in a code page; files on disk are named in
/// UTF-8. Both throw boost::locale::conv::conversion_error where a name is no text of its kind, or
/// has no counterpart.
namespace LegacyNames {

std::string ToFileName(const std::string& entryName);
std::string FromFileName(const std::string& fileName);

} // namespace LegacyNames
