#pragma once

#include <iosfwd>

/// Copies what is left of `in` to `out` through one small buffer, until the end or an error of
/// either; the streams' states tell.
void CopyStream(std::istream& in, std::ostream& out);
