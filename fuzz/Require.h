#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program where something does not hold, which is how a fuzzer sees a finding.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "Found: %s\n", what);
        std::abort();
    }
}
