#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

/// Ends the program where something does not hold, which is how a fuzzer sees a finding.
inline void Require(bool holds, const char* what, const std::string& where = {}) {
    if (!holds) {
        std::fprintf(stderr, "Found: %s %s\n", what, where.c_str());
        std::abort();
    }
}
